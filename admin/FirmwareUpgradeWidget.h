#pragma once

#include "Device.h"

#include <QWidget>

class DeviceController;

namespace Ui {
class FirmwareUpgradeWidget;
}

// Uploads a firmware file to the device, which then installs it and restarts; also restarts
// the device on request.
class FirmwareUpgradeWidget : public QWidget
{
    Q_OBJECT

public:
    explicit FirmwareUpgradeWidget(QWidget* parent = nullptr);
    ~FirmwareUpgradeWidget() override;

public slots:
    void setDevice(Device& device);
    void updateProgress(int percent);
    void updateResult(bool ok, const QString& reason);

private slots:
    void on_button_select_file_clicked();
    void on_button_upgrade_clicked();
    void on_button_reboot_clicked();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::FirmwareUpgradeWidget* ui;
    Device m_device;
    DeviceController* m_controller;
};
