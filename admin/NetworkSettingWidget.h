#pragma once

#include "Device.h"

#include <QString>
#include <QWidget>

class DeviceController;
class SettingLoad;
class QButtonGroup;

namespace Ui {
class NetworkSettingWidget;
}

// The device's addresses: shown from GET_NETWORK_SETTING, changed by NETWORK_SETTING.
class NetworkSettingWidget : public QWidget
{
    Q_OBJECT

public:
    explicit NetworkSettingWidget(QWidget* parent = nullptr);
    ~NetworkSettingWidget() override;

public slots:
    void setDevice(Device& device);
    void showNetworkSetting(QString& text);
    void settingNetworkFeedback(QString& feedback);

private slots:
    void buttonGroupToggled(int id, bool checked);
    void on_button_apply_clicked();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::NetworkSettingWidget* ui;
    Device m_device;
    DeviceController* m_controller;
    SettingLoad* m_load;
    QButtonGroup* m_group;
    QString m_dhcpEnable; // "disable" (addresses typed) or "enable"
    bool m_verify = false; // the device drops the change when the client cannot reach it again
};
