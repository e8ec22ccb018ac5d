#pragma once

#include "Device.h"

#include <QWidget>

class DeviceController;

namespace Ui {
class FaxSettingWidget;
}

// One tab for each telephone line of the device, each a FaxDetailWidget.
class FaxSettingWidget : public QWidget
{
    Q_OBJECT

public:
    explicit FaxSettingWidget(QWidget* parent = nullptr);
    ~FaxSettingWidget() override;

public slots:
    void setDevice(Device& device);
    void showServerInfomation(QString& text);

private slots:
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    void removeTabs();

    Ui::FaxSettingWidget* ui;
    Device m_device;
    DeviceController* m_controller;
};
