#pragma once

#include "Device.h"

#include <QDialog>
#include <QList>

class QStandardItemModel;

namespace Ui {
class SelectDeviceWidget;
}

// Lets the user choose the devices that share one job when several are bound.
class SelectDeviceWidget : public QDialog
{
    Q_OBJECT

public:
    SelectDeviceWidget(QList<Device> devices, QWidget* parent = nullptr);
    ~SelectDeviceWidget() override;

signals:
    // The chosen devices, in the order they were selected.
    void selectDevice(QList<Device> devices);

private slots:
    void on_button_send_clicked();
    void on_listView_clicked(const QModelIndex& index);

private:
    Ui::SelectDeviceWidget* ui;
    QStandardItemModel* m_model;
};
