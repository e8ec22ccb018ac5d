#pragma once

#include "Device.h"

#include <QList>
#include <QString>
#include <QWidget>

class DeviceController;
class InputDeviceInfoDialog;
class LoginController;
class QPushButton;

namespace Ui {
class DeviceManageWidget;
}

// The page of one bound device: a button for each administration panel and the stack of
// panels, deletion of the device, change of the device account and rename of the device.
class DeviceManageWidget : public QWidget
{
    Q_OBJECT

public:
    // The panels in the order of the stack and of the buttons.
    enum Panel {
        PANEL_VERSION,
        PANEL_EMAIL,
        PANEL_HIGH_OPTION,
        PANEL_NETWORK,
        PANEL_TIMEZONE,
        PANEL_DEVICE_LOG,
        PANEL_USER_ACCOUNT,
        PANEL_FAX_SETTING,
        PANEL_FAX_QUEUE,
        PANEL_FAX_HISTORY,
        PANEL_FIRMWARE,
        PANEL_COUNT
    };

    explicit DeviceManageWidget(QWidget* parent = nullptr);
    ~DeviceManageWidget() override;

    const Device& device() const { return m_device; }
    QWidget* panel(int index) const;

signals:
    void display(int index);
    void deleteDeviceSuccess();
    void reconnectDeviceSuccess(Device& device);
    // The device's name changed on the device and in the store.
    void renameDeviceSuccess(Device& device);

public slots:
    void setDevice(Device& device);
    void changeDeviceAccount(QString account, QString password);
    void changeDeviceAccountSuccess(Device& device);
    void changeDeviceAccountFail(QString& message);
    void showHighOption(QString& text);
    void showSetHighOptionResult(bool ok);

private slots:
    void on_pushButton_clicked();
    void on_button_delete_device_clicked();
    void on_button_change_account_clicked();
    void on_button_change_device_name_clicked();
    void on_button_voice_monitor_clicked();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // Shows a panel after giving it the device (and emptying it first where it keeps a table).
    void showPanel(int index);
    void showIdentity();

    Ui::DeviceManageWidget* ui;
    Device m_device;
    QString m_newName; // while a rename runs
    DeviceController* m_controller;
    LoginController* m_loginController;
    InputDeviceInfoDialog* m_accountDialog = nullptr;
    QList<QPushButton*> m_buttons;
};
