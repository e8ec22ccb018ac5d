#pragma once

#include "Device.h"

#include <QWidget>

class DeviceController;

namespace Ui {
class HighOptionWidget;
}

// The device's configuration file as text, edited as a whole and sent back.
class HighOptionWidget : public QWidget
{
    Q_OBJECT

public:
    explicit HighOptionWidget(QWidget* parent = nullptr);
    ~HighOptionWidget() override;

public slots:
    void setDevice(Device& device);
    void showHighOption(QString& text);
    void showSetHighOptionResult(bool ok);

private slots:
    void on_button_apply_clicked();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::HighOptionWidget* ui;
    Device m_device;
    DeviceController* m_controller;
};
