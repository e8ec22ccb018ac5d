#include "DeviceListWindow.h"
#include "ui_DeviceListWindow.h"

#include "DeviceListWidget.h"
#include "DeviceManageWidget.h"

#include <QStackedWidget>

DeviceListWindow::DeviceListWindow(QWidget* parent)
    : QWidget(parent), ui(new Ui::DeviceListWindow), m_list(new DeviceListWidget), m_manage(new DeviceManageWidget)
{
    ui->setupUi(this);
    ui->stackedWidget->addWidget(m_list);
    ui->stackedWidget->addWidget(m_manage);
    ui->stackedWidget->setCurrentIndex(0);

    connect(m_list, &DeviceListWidget::display, this, &DeviceListWindow::showSelectedDevice);
    connect(m_manage, &DeviceManageWidget::display, ui->stackedWidget, &QStackedWidget::setCurrentIndex);
    connect(m_manage, &DeviceManageWidget::deleteDeviceSuccess, this, &DeviceListWindow::deleteDeviceResult);
    connect(m_manage, &DeviceManageWidget::reconnectDeviceSuccess, this, &DeviceListWindow::reconnectDeviceResult);
    connect(m_manage, &DeviceManageWidget::renameDeviceSuccess, m_list, &DeviceListWidget::reacquire);
}

DeviceListWindow::~DeviceListWindow()
{
    delete ui;
}

void DeviceListWindow::showSelectedDevice(int index, Device& device)
{
    ui->stackedWidget->setCurrentIndex(index);
    m_manage->setDevice(device);
}

void DeviceListWindow::deleteDeviceResult()
{
    // The list is right before anyone else hears of the deletion.
    m_list->reacquire();
    emit deleteDeviceSuccess();
}

void DeviceListWindow::reconnectDeviceResult(Device& device)
{
    emit reconnectDeviceSuccess(device);
    close();
}

void DeviceListWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
