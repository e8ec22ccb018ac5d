#pragma once

#include "Device.h"

#include <QString>
#include <QWidget>

class DeviceController;
class QTimer;

namespace Ui {
class VersionStatusWidget;
}

// The device's versions, storage and the state of its lines, as GET_SVR_INFO tells them.
class VersionStatusWidget : public QWidget
{
    Q_OBJECT

public:
    explicit VersionStatusWidget(QWidget* parent = nullptr);
    ~VersionStatusWidget() override;

    // "LINE1:IDLE LINE2:RINGING" as the panel shows it: each entry's line name, its value (in
    // words when lineState is set) and a tab. Blank input gives no entry.
    static QString lineEntries(const QString& value, bool lineState);

public slots:
    void setDevice(Device& device);
    void getServerInfomation();
    void showInfomation(QString& text);

private slots:
    void on_button_refresh_clicked();
    void setBusy(bool busy);

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    Ui::VersionStatusWidget* ui;
    Device m_device;
    DeviceController* m_controller;
    // Refreshes like the button; nothing starts it, the button is enough.
    QTimer* m_timer;
    QString m_lastInfo; // shown again when the language changes
};
