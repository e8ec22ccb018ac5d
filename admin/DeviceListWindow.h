#pragma once

#include "Device.h"

#include <QWidget>

class DeviceListWidget;
class DeviceManageWidget;

namespace Ui {
class DeviceListWindow;
}

// "我的设备": the list of bound devices (page 0) and the page of the chosen one (page 1).
class DeviceListWindow : public QWidget
{
    Q_OBJECT

public:
    explicit DeviceListWindow(QWidget* parent = nullptr);
    ~DeviceListWindow() override;

    DeviceListWidget* listWidget() const { return m_list; }
    DeviceManageWidget* manageWidget() const { return m_manage; }

signals:
    void deleteDeviceSuccess();
    void reconnectDeviceSuccess(Device& device);

public slots:
    void showSelectedDevice(int index, Device& device);
    void deleteDeviceResult();
    void reconnectDeviceResult(Device& device);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::DeviceListWindow* ui;
    DeviceListWidget* m_list;
    DeviceManageWidget* m_manage;
};
