#pragma once

#include "Device.h"
#include "Fax.h"

#include <QList>
#include <QString>
#include <QWidget>

class DeviceController;

namespace Ui {
class FaxQueueWidget;
}

// The faxes that wait on the device to be sent, of all its accounts; a task can be stopped
// and its file viewed.
class FaxQueueWidget : public QWidget
{
    Q_OBJECT

public:
    explicit FaxQueueWidget(QWidget* parent = nullptr);
    ~FaxQueueWidget() override;

public slots:
    void setDevice(Device& device);
    void clearWidget();
    void showFaxQueueList(QList<Fax>& faxes);
    void viewFaxFile(QString& path);
    void sendFaxPauseResult();

private slots:
    void on_button_refresh_clicked();
    void on_button_stop_send_clicked();
    void on_button_content_clicked();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    QStringList headers() const;

    Ui::FaxQueueWidget* ui;
    Device m_device;
    DeviceController* m_controller;
    QString m_stopping; // task number a stop was asked for
};
