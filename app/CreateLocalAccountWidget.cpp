#include "CreateLocalAccountWidget.h"
#include "ui_CreateLocalAccountWidget.h"

#include "DatabaseManager.h"
#include "MessageBoxUtil.h"

#include <QEvent>

CreateLocalAccountWidget::CreateLocalAccountWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::CreateLocalAccountWidget)
{
    ui->setupUi(this);
}

CreateLocalAccountWidget::~CreateLocalAccountWidget()
{
    delete ui;
}

void CreateLocalAccountWidget::on_button_confirm_clicked()
{
    QString nickname = ui->edit_nickname->text();
    QString password = ui->edit_password->text();
    if (nickname.trimmed().isEmpty()) {
        MessageBoxUtil::warningMsg(this, tr("警告"), tr("请输入昵称"));
        return;
    }
    DatabaseManager db;
    if (db.queryUserByNickname(nickname).id != 0) {
        MessageBoxUtil::warningMsg(this, tr("警告"), tr("该账号已被创建"));
        return;
    }
    // The nickname names the user's folder, so it must be a plain folder name.
    if (nickname.contains(QLatin1Char('/')) || nickname == QLatin1String(".") || nickname == QLatin1String("..")) {
        MessageBoxUtil::warningMsg(this, tr("警告"), tr("昵称不能包含“/”，也不能是“.”或“..”"));
        return;
    }
    if (password != ui->edit_confirm_password->text()) {
        MessageBoxUtil::warningMsg(this, tr("警告"), tr("两次输入的密码不一致"));
        return;
    }
    if (!db.insertUser(nickname, password)) {
        MessageBoxUtil::warningMsg(this, tr("警告"), tr("账号创建失败"));
        return;
    }
    clearEdits();
    emit showCreateUserNickname(nickname);
    emit display(0);
}

void CreateLocalAccountWidget::on_button_back_clicked()
{
    clearEdits();
    emit display(0);
}

void CreateLocalAccountWidget::clearEdits()
{
    ui->edit_nickname->clear();
    ui->edit_password->clear();
    ui->edit_confirm_password->clear();
}

void CreateLocalAccountWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
