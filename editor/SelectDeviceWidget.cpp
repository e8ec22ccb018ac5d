#include "SelectDeviceWidget.h"
#include "ui_SelectDeviceWidget.h"

#include "SelectDeviceItemDelegate.h"

#include <QStandardItemModel>

namespace {
const int RECORD_ROLE = Qt::UserRole + 1;
}

SelectDeviceWidget::SelectDeviceWidget(QList<Device> devices, QWidget* parent)
    : QDialog(parent), ui(new Ui::SelectDeviceWidget), m_model(new QStandardItemModel(this))
{
    ui->setupUi(this);
    for (const Device& device : devices) {
        auto* item = new QStandardItem;
        item->setData(QVariant::fromValue(device), RECORD_ROLE);
        item->setData(device.serverName, Qt::ToolTipRole);
        m_model->appendRow(item);
    }
    ui->listView->setModel(m_model);
    ui->listView->setItemDelegate(new SelectDeviceItemDelegate(ui->listView));
    ui->listView->setViewMode(QListView::ListMode);
    ui->listView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->listView->setSelectionMode(QAbstractItemView::ExtendedSelection);
}

SelectDeviceWidget::~SelectDeviceWidget()
{
    delete ui;
}

void SelectDeviceWidget::on_button_send_clicked()
{
    QList<Device> chosen;
    for (const QModelIndex& index : ui->listView->selectionModel()->selectedIndexes())
        chosen.append(index.data(RECORD_ROLE).value<Device>());
    if (chosen.isEmpty())
        return;
    emit selectDevice(chosen);
    close();
}

void SelectDeviceWidget::on_listView_clicked(const QModelIndex&)
{
    // Selection alone decides; sending waits for the button.
}
