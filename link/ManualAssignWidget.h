#pragma once

#include "Device.h"

#include <QWidget>

namespace Ui {
class ManualAssignWidget;
}

// Binding by a typed device identity or address.
class ManualAssignWidget : public QWidget
{
    Q_OBJECT

public:
    explicit ManualAssignWidget(QWidget* parent = nullptr);
    ~ManualAssignWidget() override;

    // The Device the typed fields stand for: "address[:port]" or an identity (upper-cased).
    static Device deviceFromInput(const QString& target, const QString& account, const QString& password);
    // While a bind runs, "验证" waits.
    void setBusy(bool busy);

signals:
    void addDevice(Device& device);

protected:
    void changeEvent(QEvent* event) override;

private slots:
    void on_button_verify_clicked();

private:
    Ui::ManualAssignWidget* ui;
};
