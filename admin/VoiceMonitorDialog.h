#pragma once

#include "Device.h"

#include <QDialog>

class DeviceController;
class QIODevice;
class QUdpSocket;

namespace Ui {
class VoiceMonitorDialog;
}

// Listening to a line of the device: a login that names a UDP port, after which the device
// streams the line's sound there. Prepared but not offered: nothing opens this dialog yet,
// and the client has no audio output of its own.
class VoiceMonitorDialog : public QDialog
{
    Q_OBJECT

public:
    VoiceMonitorDialog(Device& device, QWidget* parent = nullptr);
    ~VoiceMonitorDialog() override;

    // Where the received datagrams go; none by default, so they are read and dropped.
    void setOutput(QIODevice* output) { m_output = output; }

public slots:
    void startVoiceListen();
    void readPendingDatagrams();

private slots:
    void on_button_listen_clicked();

private:
    Ui::VoiceMonitorDialog* ui;
    Device m_device;
    DeviceController* m_controller;
    QIODevice* m_output = nullptr;
    QUdpSocket* m_udpSocket;
};
