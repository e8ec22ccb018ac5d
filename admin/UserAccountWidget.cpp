#include "UserAccountWidget.h"
#include "ui_UserAccountWidget.h"

#include "DeviceController.h"
#include "MessageBoxUtil.h"
#include "PermissionConstant.h"
#include "StringUtil.h"

#include <QSignalBlocker>

UserAccountWidget::UserAccountWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::UserAccountWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    setBusy(false);
    connect(ui->combo_forward_condition, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &UserAccountWidget::updateDependentFields);
    connect(ui->combo_smtpSetting, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &UserAccountWidget::updateDependentFields);
    updateDependentFields();
    connect(m_controller, &DeviceController::returnUserList, this, &UserAccountWidget::showUserList);
    connect(m_controller, &DeviceController::returnUserInfo, this, &UserAccountWidget::showUserInfo);
    connect(m_controller, &DeviceController::returnDeleteUserResult, this, &UserAccountWidget::deleteUser);
    connect(m_controller, &DeviceController::returnModifyUserResult, this, &UserAccountWidget::modifyUserResult);
    connect(m_controller, &DeviceController::busyChanged, this, &UserAccountWidget::setBusy);
}

UserAccountWidget::~UserAccountWidget()
{
    delete ui;
}

void UserAccountWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->button_apply->setEnabled(!busy);
    ui->button_deleteUser->setEnabled(!busy);
    ui->button_addUser->setEnabled(!busy);
}

void UserAccountWidget::setDevice(Device& device)
{
    m_device = device;
    if (m_adding)
        leaveAddMode();
    {
        const QSignalBlocker blocker(ui->listWidget);
        ui->listWidget->clear();
    }
    emit m_controller->getUserList(m_device);
}

void UserAccountWidget::showUserList(QString& list)
{
    // The list is filled anew each time, so a panel shown twice names each account once.
    {
        const QSignalBlocker blocker(ui->listWidget);
        ui->listWidget->clear();
        ui->listWidget->addItems(list.split(QLatin1Char(','), Qt::SkipEmptyParts));
        ui->listWidget->setCurrentRow(-1); // so that row 0 below always fetches its account
    }
    if (ui->listWidget->count() > 0)
        ui->listWidget->setCurrentRow(0);
}

void UserAccountWidget::on_listWidget_currentItemChanged(QListWidgetItem* current, QListWidgetItem*)
{
    if (!current)
        return;
    QString name = current->text();
    emit m_controller->getUserInfo(m_device, name);
}

void UserAccountWidget::setPermission(int permission)
{
    ui->check_admin->setChecked(permission & PermissionConstant::PERMISSION_ADMIN);
    ui->check_distributor->setChecked(permission & PermissionConstant::PERMISSION_PUB);
    ui->check_send->setChecked(permission & PermissionConstant::PERMISSION_SEND);
    ui->check_receive->setChecked(permission & PermissionConstant::PERMISSION_RECV);
    ui->check_remote->setChecked(permission & PermissionConstant::PERMISSION_REMOTE);
    ui->check_fax2email->setChecked(permission & PermissionConstant::PERMISSION_FAX2EMAIL);
}

int UserAccountWidget::permission() const
{
    return (ui->check_admin->isChecked() ? PermissionConstant::PERMISSION_ADMIN : 0) | (ui->check_distributor->isChecked() ? PermissionConstant::PERMISSION_PUB : 0)
        | (ui->check_send->isChecked() ? PermissionConstant::PERMISSION_SEND : 0) | (ui->check_receive->isChecked() ? PermissionConstant::PERMISSION_RECV : 0)
        | (ui->check_remote->isChecked() ? PermissionConstant::PERMISSION_REMOTE : 0)
        | (ui->check_fax2email->isChecked() ? PermissionConstant::PERMISSION_FAX2EMAIL : 0);
}

void UserAccountWidget::showUserInfo(QString& text)
{
    if (m_adding)
        return; // a late answer must not overwrite the new account being typed
    auto value = [&text](const char* tag) { return StringUtil::getValue(text, QLatin1String(tag)); };
    const QString name = value("USER_NAME");
    ui->edit_username->setText(name);
    // The device keeps these rights of "admin" fixed.
    const bool open = name != QLatin1String("admin");
    for (QCheckBox* box : {ui->check_admin, ui->check_distributor, ui->check_fax2email, ui->check_send})
        box->setEnabled(open);
    ui->edit_extNum->setText(value("EXT_NUM"));
    ui->edit_smtpAddress->setText(value("SMTP_ADDR"));
    ui->edit_smtpUser->setText(value("SMTP_USER"));
    ui->edit_emailFrom->setText(value("EMAIL_FROM"));
    ui->edit_emailTo->setText(value("EMAIL_TO"));
    // The passwords never come back: an empty field keeps the device's.
    ui->edit_password->clear();
    ui->edit_smtpPwd->clear();
    setPermission(value("PERMISSION").toInt());
    const int option = value("EMAIL_OPT").toInt();
    ui->combo_forward_condition->setCurrentIndex(qBound(0, option % 4, 2));
    ui->combo_smtpSetting->setCurrentIndex(option >= 4 ? 1 : 0);
    updateDependentFields();
}

void UserAccountWidget::updateDependentFields()
{
    const int forward = ui->combo_forward_condition->currentIndex();
    ui->edit_emailTo->setEnabled(forward == 1 || forward == 2);
    const bool ownSmtp = ui->combo_smtpSetting->currentIndex() == 1 && (forward == 1 || forward == 2);
    for (QLineEdit* edit : {ui->edit_smtpAddress, ui->edit_smtpUser, ui->edit_smtpPwd, ui->edit_emailFrom})
        edit->setEnabled(ownSmtp);
}

void UserAccountWidget::on_button_addUser_clicked()
{
    m_adding = true;
    ui->button_addUser->hide();
    ui->button_deleteUser->setText(tr("取消"));
    ui->button_apply->setText(tr("确定"));
    ui->listWidget->setEnabled(false);
    ui->edit_username->setEnabled(true);
    for (QLineEdit* edit : {ui->edit_username, ui->edit_password, ui->edit_extNum, ui->edit_smtpAddress,
                            ui->edit_smtpUser, ui->edit_smtpPwd, ui->edit_emailFrom, ui->edit_emailTo})
        edit->clear();
    for (QCheckBox* box : {ui->check_admin, ui->check_distributor, ui->check_fax2email, ui->check_send})
        box->setEnabled(true);
    // A new account may send and receive.
    setPermission(PermissionConstant::PERMISSION_SEND | PermissionConstant::PERMISSION_RECV);
    ui->edit_username->setFocus();
}

void UserAccountWidget::leaveAddMode()
{
    m_adding = false;
    ui->listWidget->setEnabled(true);
    ui->edit_username->setEnabled(false);
    ui->button_addUser->show();
    ui->button_deleteUser->setText(tr("删除用户"));
    ui->button_apply->setText(tr("应用修改"));
}

void UserAccountWidget::on_button_deleteUser_clicked()
{
    if (m_adding) {
        // In add mode this is the cancel button; the account shown before comes back.
        leaveAddMode();
        on_listWidget_currentItemChanged(ui->listWidget->currentItem(), nullptr);
        return;
    }
    m_deleting = ui->edit_username->text();
    if (m_deleting.isEmpty())
        return;
    emit m_controller->deleteUser(m_device, m_deleting);
}

void UserAccountWidget::deleteUser(QString& feedback)
{
    if (feedback != QLatin1String("OK"))
        return;
    // The row of the account that was deleted goes; the row that then becomes current loads.
    QList<QListWidgetItem*> rows = ui->listWidget->findItems(m_deleting, Qt::MatchExactly);
    QListWidgetItem* row = rows.isEmpty() ? ui->listWidget->currentItem() : rows.first();
    delete ui->listWidget->takeItem(ui->listWidget->row(row));
    m_deleting.clear();
}

void UserAccountWidget::on_button_apply_clicked()
{
    QString name = ui->edit_username->text();
    if (name.isEmpty())
        return;
    QString password = ui->edit_password->text();
    if (m_adding && password.isEmpty()) {
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("请为新用户输入密码"));
        return;
    }
    QString ext = ui->edit_extNum->text();
    QString rights = QString::number(permission());
    QString option = QString::number(
        emailOption(ui->combo_forward_condition->currentIndex(), ui->combo_smtpSetting->currentIndex()));
    QString smtpAddr = ui->edit_smtpAddress->text();
    QString smtpUser = ui->edit_smtpUser->text();
    QString smtpPwd = ui->edit_smtpPwd->text();
    QString emailFrom = ui->edit_emailFrom->text();
    QString emailTo = ui->edit_emailTo->text();
    QString verb = m_adding ? QStringLiteral("ADD_USER") : QStringLiteral("MODIFY_USER");
    emit m_controller->setUserInfo(m_device, name, password, ext, rights, option, smtpAddr, smtpUser, smtpPwd,
                                   emailFrom, emailTo, verb);
}

void UserAccountWidget::modifyUserResult(QString& feedback)
{
    if (feedback != QLatin1String("OK")) {
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), m_adding ? tr("添加用户失败") : tr("用户信息修改失败"));
        return;
    }
    MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), m_adding ? tr("添加成功") : tr("用户信息修改成功"));
    if (!m_adding)
        return;
    leaveAddMode();
    auto* item = new QListWidgetItem(ui->edit_username->text());
    ui->listWidget->addItem(item);
    ui->listWidget->setCurrentItem(item);
}

void UserAccountWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        if (m_adding) {
            ui->button_deleteUser->setText(tr("取消"));
            ui->button_apply->setText(tr("确定"));
        }
    }
    QWidget::changeEvent(event);
}
