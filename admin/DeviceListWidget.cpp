#include "DeviceListWidget.h"
#include "ui_DeviceListWidget.h"

#include "DatabaseManager.h"
#include "DeviceListDelegate.h"

#include <QStandardItemModel>

namespace {
constexpr int DEVICE_ROLE = Qt::UserRole + 1;
}

DeviceListWidget::DeviceListWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::DeviceListWidget), m_model(new QStandardItemModel(this)),
      m_delegate(new DeviceListDelegate(this))
{
    ui->setupUi(this);
    ui->listView->setModel(m_model);
    ui->listView->setItemDelegate(m_delegate);
    reacquire();
}

DeviceListWidget::~DeviceListWidget()
{
    delete ui;
}

void DeviceListWidget::reacquire()
{
    m_model->clear();
    DatabaseManager db;
    for (const Device& device : db.queryDevices()) {
        auto* item = new QStandardItem;
        item->setData(QVariant::fromValue(device), DEVICE_ROLE);
        item->setEditable(false);
        m_model->appendRow(item);
    }
}

void DeviceListWidget::on_listView_clicked(const QModelIndex& index)
{
    if (!index.isValid())
        return;
    Device device = index.data(DEVICE_ROLE).value<Device>();
    emit display(1, device);
}
