#pragma once

#include "Device.h"

#include <QDialog>
#include <QString>

class DeviceController;
class QTableWidget;
class QTableWidgetItem;

namespace Ui {
class FaxDistributeDialog;
}

// Hands a received or sent fax on the device to other accounts of that device: the device's
// accounts on the left, those chosen on the right, a double click moves a name across.
class FaxDistributeDialog : public QDialog
{
    Q_OBJECT

public:
    FaxDistributeDialog(Device& device, QString& taskID, QWidget* parent = nullptr);
    ~FaxDistributeDialog() override;

    const Device& device() const { return m_device; }
    const QString& taskID() const { return m_taskID; }

public slots:
    void showUserList(QString& list);

private slots:
    void on_table_user_list_itemDoubleClicked(QTableWidgetItem* item);
    void on_table_distribute_to_itemDoubleClicked(QTableWidgetItem* item);
    void on_button_ok_clicked();
    void on_button_cancel_clicked();
    void setBusy(bool busy);
    void commandFinished();
    void distributed(QString& feedback);

protected:
    void changeEvent(QEvent* event) override;

private:
    void moveName(QTableWidgetItem* item, QTableWidget* to);

    Ui::FaxDistributeDialog* ui;
    Device m_device;
    QString m_taskID; // the device's task number of the fax, decimal
    DeviceController* m_controller;
    bool m_distributing = false;
    QString m_names;    // those the fax goes to, while it goes
    QString m_feedback; // the device's answer; empty when none came
};
