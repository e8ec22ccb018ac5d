#pragma once

#include "Device.h"

#include <QDialog>

class AutoSearchWidget;
class LoginController;
class ManualAssignWidget;
class QUdpSocket;

namespace Ui {
class BindDeviceDialog;
}

// "添加设备": finds or takes a device and binds it to the current user.
class BindDeviceDialog : public QDialog
{
    Q_OBJECT

public:
    explicit BindDeviceDialog(QWidget* parent = nullptr);
    ~BindDeviceDialog() override;

    AutoSearchWidget* autoSearchWidget() const { return m_search; }
    ManualAssignWidget* manualAssignWidget() const { return m_assign; }

signals:
    void connectDeviceSuccess(Device& device);

public slots:
    void connectDevice(Device& device);
    void bindDeviceSuccess(Device& device);
    void bindDeviceFail(QString& message);

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private slots:
    void on_button_search_clicked();
    void on_button_assign_clicked();

private:
    Ui::BindDeviceDialog* ui;
    QUdpSocket* m_socket;
    AutoSearchWidget* m_search;
    ManualAssignWidget* m_assign;
    LoginController* m_controller;
};
