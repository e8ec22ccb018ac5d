#pragma once

#include <QDialog>

namespace Ui {
class InputDeviceInfoDialog;
}

// Asks for the device account and password of a device picked from the search.
class InputDeviceInfoDialog : public QDialog
{
    Q_OBJECT

public:
    explicit InputDeviceInfoDialog(QWidget* parent = nullptr);
    ~InputDeviceInfoDialog() override;

    // Empties both fields for the next device.
    void clear();
    // While a bind runs, OK waits.
    void setBusy(bool busy);

signals:
    void sendDeviceInfo(QString account, QString password);

protected:
    void changeEvent(QEvent* event) override;

private slots:
    void onAccepted();

private:
    Ui::InputDeviceInfoDialog* ui;
};
