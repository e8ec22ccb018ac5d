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
    // The user asked for "程序选项" (to set the address service).
    void openOptions();

public slots:
    void connectDevice(Device& device);
    void bindDeviceSuccess(Device& device);
    void bindDeviceFail(QString& message);

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private slots:
    void on_button_search_clicked();
    void on_button_assign_clicked();

private:
    // Only one bind at a time: its buttons wait for the outcome.
    void setBinding(bool binding);
    // Binding by identity needs the address service; say so while none is set.
    void showAddressServiceNotice();
    // True (after telling the user) when the user has this device already.
    bool alreadyBound(const QString& productID);

    Ui::BindDeviceDialog* ui;
    QUdpSocket* m_socket;
    AutoSearchWidget* m_search;
    ManualAssignWidget* m_assign;
    LoginController* m_controller;
};
