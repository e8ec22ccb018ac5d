#pragma once

#include "Device.h"

#include <QModelIndex>
#include <QPair>
#include <QWidget>
#include <map>
#include <string>

class DeviceItemDelegate;
class InputDeviceInfoDialog;
class QStandardItemModel;
class QTimer;
class QUdpSocket;

namespace Ui {
class AutoSearchWidget;
}

// Lists the devices that answer the discovery broadcast, one row per identity.
class AutoSearchWidget : public QWidget
{
    Q_OBJECT

public:
    AutoSearchWidget(QUdpSocket* socket, QWidget* parent = nullptr);
    ~AutoSearchWidget() override;

    QStandardItemModel* model() const { return m_model; }
    InputDeviceInfoDialog* inputDialog() const { return m_inputDialog; }

signals:
    void addDevice(Device& device);

public slots:
    void sendBroadCastMsg();
    void readPendingDatagrams();
    void listButtonClicked(const QModelIndex index);
    void receiveDeviceInfo(QString account, QString password);
    void closeInputDialog();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::AutoSearchWidget* ui;
    std::map<std::string, Device> m_devices;
    QStandardItemModel* m_model;
    DeviceItemDelegate* m_delegate;
    QTimer* m_timer;
    QUdpSocket* m_socket;
    QPair<QString, QString> m_picked; // localIP, productID
    InputDeviceInfoDialog* m_inputDialog;
};
