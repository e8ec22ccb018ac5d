#pragma once

#include "Device.h"

#include <QString>
#include <QWidget>

class DeviceController;
class SettingLoad;

namespace Ui {
class FaxDetailWidget;
}

// The parameters of one telephone line, loaded at once and sent back by Apply.
class FaxDetailWidget : public QWidget
{
    Q_OBJECT

public:
    FaxDetailWidget(Device& device, QString& line, QWidget* parent = nullptr);
    ~FaxDetailWidget() override;

    // Receive speed: device code to combo index and back (the combo skips 7200 and 12000).
    static int recvSpeedIndex(int code);
    static int recvSpeedCode(int index);

public slots:
    void showFaxSetting(QString& text);
    void settingFaxFeedback(QString& feedback);

private slots:
    void on_button_apply_clicked();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    // Appends the speeds above 14400 bps to both combos, once.
    void addHighSpeeds();

    Ui::FaxDetailWidget* ui;
    Device m_device;
    QString m_line;
    DeviceController* m_controller;
    SettingLoad* m_load;
};
