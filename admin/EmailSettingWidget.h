#pragma once

#include "Device.h"

#include <QString>
#include <QWidget>

class DeviceController;
class SettingLoad;

namespace Ui {
class EmailSettingWidget;
}

// The device's public SMTP account, for faxes forwarded by e-mail.
class EmailSettingWidget : public QWidget
{
    Q_OBJECT

public:
    explicit EmailSettingWidget(QWidget* parent = nullptr);
    ~EmailSettingWidget() override;

public slots:
    void setDevice(Device& device);
    void showEmailSetting(QString& text);
    void settingEmailFeedback(QString& feedback);

private slots:
    void on_button_apply_clicked();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::EmailSettingWidget* ui;
    Device m_device;
    DeviceController* m_controller;
    SettingLoad* m_load;
};
