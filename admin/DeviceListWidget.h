#pragma once

#include "Device.h"

#include <QModelIndex>
#include <QWidget>

class QStandardItemModel;
class DeviceListDelegate;

namespace Ui {
class DeviceListWidget;
}

// The devices bound by the current user, one row each; a click opens the device's page.
class DeviceListWidget : public QWidget
{
    Q_OBJECT

public:
    explicit DeviceListWidget(QWidget* parent = nullptr);
    ~DeviceListWidget() override;

    QStandardItemModel* model() const { return m_model; }

signals:
    void display(int index, Device& device);

public slots:
    // Loads the list again from the database.
    void reacquire();

private slots:
    void on_listView_clicked(const QModelIndex& index);

private:
    Ui::DeviceListWidget* ui;
    QStandardItemModel* m_model;
    DeviceListDelegate* m_delegate;
};
