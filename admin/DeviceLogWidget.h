#pragma once

#include "Device.h"

#include <QString>
#include <QStringList>
#include <QWidget>

class DeviceController;

namespace Ui {
class DeviceLogWidget;
}

// Fetches a week of the device's day logs into one local file and opens it in a text viewer.
class DeviceLogWidget : public QWidget
{
    Q_OBJECT

public:
    explicit DeviceLogWidget(QWidget* parent = nullptr);
    ~DeviceLogWidget() override;

    // The viewer's command line for a file: "logViewer" of UserConfig.ini, else gedit where
    // it is installed, else xdg-open. "%1" in the setting takes the path; without it the path
    // is the last argument. Empty when no program is left.
    static QStringList viewerCommand(const QString& path);

public slots:
    void setDevice(Device& device);
    void showProgress(QString& date, int percent);
    void openDeviceLog(QString& path);

private slots:
    void on_button_view_log_clicked();
    void setBusy(bool busy);
    void showFailedDays(const QStringList& days);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::DeviceLogWidget* ui;
    Device m_device;
    DeviceController* m_controller;
};
