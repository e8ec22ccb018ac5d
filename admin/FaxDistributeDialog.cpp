#include "FaxDistributeDialog.h"
#include "ui_FaxDistributeDialog.h"

#include "DeviceController.h"
#include "MessageBoxUtil.h"

#include <QHeaderView>
#include <QStringList>

namespace {

void prepare(QTableWidget* table, const QString& header)
{
    table->setColumnCount(1);
    table->setHorizontalHeaderLabels({header});
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->hide();
}

void appendName(QTableWidget* table, const QString& name)
{
    const int row = table->rowCount();
    table->insertRow(row);
    table->setItem(row, 0, new QTableWidgetItem(name));
}

} // namespace

FaxDistributeDialog::FaxDistributeDialog(Device& device, QString& taskID, QWidget* parent)
    : QDialog(parent), ui(new Ui::FaxDistributeDialog), m_device(device), m_taskID(taskID),
      m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    // The folders open one for each use of their menu entry and keep no pointer.
    setAttribute(Qt::WA_DeleteOnClose);
    prepare(ui->table_user_list, tr("用户名"));
    prepare(ui->table_distribute_to, tr("用户名"));
    setBusy(false);
    connect(m_controller, &DeviceController::returnUserList, this, &FaxDistributeDialog::showUserList);
    connect(m_controller, &DeviceController::busyChanged, this, &FaxDistributeDialog::setBusy);
    connect(m_controller, &DeviceController::commandFinished, this, &FaxDistributeDialog::commandFinished);
    connect(m_controller, &DeviceController::returnSettingResult, this, &FaxDistributeDialog::distributed);
    emit m_controller->getUserList(m_device);
}

FaxDistributeDialog::~FaxDistributeDialog()
{
    delete ui;
}

void FaxDistributeDialog::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->button_ok->setEnabled(!busy);
}

void FaxDistributeDialog::showUserList(QString& list)
{
    ui->table_user_list->setRowCount(0);
    for (const QString& name : list.split(QLatin1Char(','), Qt::SkipEmptyParts))
        appendName(ui->table_user_list, name);
}

void FaxDistributeDialog::moveName(QTableWidgetItem* item, QTableWidget* to)
{
    if (!item)
        return;
    QTableWidget* from = item->tableWidget();
    const QString name = item->text();
    from->removeRow(item->row());
    appendName(to, name);
}

void FaxDistributeDialog::on_table_user_list_itemDoubleClicked(QTableWidgetItem* item)
{
    moveName(item, ui->table_distribute_to);
}

void FaxDistributeDialog::on_table_distribute_to_itemDoubleClicked(QTableWidgetItem* item)
{
    moveName(item, ui->table_user_list);
}

void FaxDistributeDialog::on_button_ok_clicked()
{
    QStringList names;
    for (int row = 0; row < ui->table_distribute_to->rowCount(); ++row)
        names << ui->table_distribute_to->item(row, 0)->text();
    QString list = names.join(QLatin1Char(','));
    m_names = names.join(QStringLiteral(", "));
    m_distributing = true;
    emit m_controller->distributeFax(m_device, m_taskID, list);
    // The window goes at once; the dialog itself (and its worker) stays until the device has
    // had the request, since ending the worker's thread earlier could drop it.
    hide();
}

void FaxDistributeDialog::distributed(QString& feedback)
{
    m_feedback = feedback;
}

// The window is hidden by now: the answer is told over the folder that opened it.
void FaxDistributeDialog::commandFinished()
{
    if (!m_distributing || m_controller->isBusy())
        return;
    const QString title = tr("内部分发");
    if (m_feedback == QLatin1String("OK"))
        MessageBoxUtil::infoMsg(parentWidget(), title, tr("传真已分发给：%1").arg(m_names));
    else if (m_feedback.isEmpty())
        MessageBoxUtil::warningMsg(parentWidget(), title, tr("内部分发失败：设备没有应答。"));
    else
        MessageBoxUtil::warningMsg(parentWidget(), title, tr("内部分发失败：%1").arg(m_feedback));
    close();
}

void FaxDistributeDialog::on_button_cancel_clicked()
{
    close();
}

void FaxDistributeDialog::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        ui->table_user_list->setHorizontalHeaderLabels({tr("用户名")});
        ui->table_distribute_to->setHorizontalHeaderLabels({tr("用户名")});
    }
    QWidget::changeEvent(event);
}
