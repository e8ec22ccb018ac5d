#include "LoginWidget.h"
#include "ui_LoginWidget.h"

#include "AESUtil.h"
#include "AppSettings.h"
#include "DatabaseManager.h"
#include "FileUtil.h"
#include "LogUtil.h"
#include "MGlobal.h"
#include "MessageBoxUtil.h"
#include "SelectLanguageDialog.h"

#include <QDataStream>
#include <QEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QSaveFile>

LoginWidget::LoginWidget(QWidget* parent) : QWidget(parent), ui(new Ui::LoginWidget)
{
    ui->setupUi(this);
    DatabaseManager db;
    ui->combo_nickname->addItems(db.queryAllUserNickname());
    loadConfig();
    // Enter in the password field logs in, as a press of the button.
    connect(ui->edit_password, &QLineEdit::returnPressed, ui->button_login, &QPushButton::click);
}

LoginWidget::~LoginWidget()
{
    delete ui;
}

void LoginWidget::loadConfig()
{
    auto settings = AppSettings::userConfig();
    const QString account = settings->value(AppSettings::KEY_ACCOUNT).toString();
    QByteArray password = settings->value(AppSettings::KEY_PASSWORD).toByteArray();
    const bool rememberPwd = settings->value(AppSettings::KEY_REMEMBER_PWD, false).toBool();
    const bool autoLogin = settings->value(AppSettings::KEY_AUTO_LOGIN, false).toBool();

    ui->combo_nickname->setEditText(account);
    if (!rememberPwd) {
        ui->check_auto_login->setEnabled(false);
        return;
    }
    ui->check_remember_pwd->setChecked(true);
    ui->edit_password->setText(AESUtil::decode(password));
    ui->check_auto_login->setEnabled(true);
    ui->check_auto_login->setChecked(autoLogin);
}

void LoginWidget::saveConfig(QString& nickname, QString& password)
{
    // The enciphered password is kept even when it is not to be remembered.
    const QByteArray cipher = AESUtil::encode(password);

    const QString path = FileUtil::getDocumentPath() + QStringLiteral("login.dat");
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        QDataStream out(&file);
        out << nickname << cipher;
        if (!file.commit())
            LogUtil::w(QStringLiteral("cannot write %1").arg(path));
    }

    auto settings = AppSettings::userConfig();
    settings->setValue(AppSettings::KEY_ACCOUNT, nickname);
    settings->setValue(AppSettings::KEY_PASSWORD, cipher);
    settings->setValue(AppSettings::KEY_REMEMBER_PWD, m_rememberPwd);
    settings->setValue(AppSettings::KEY_AUTO_LOGIN, m_autoLogin);
    settings->sync();
}

void LoginWidget::on_button_login_clicked()
{
    QString nickname = ui->combo_nickname->currentText();
    QString password = ui->edit_password->text();
    DatabaseManager db;
    const User user = db.loginUser(nickname, password);
    if (user.nickname.isEmpty()) {
        MessageBoxUtil::warningMsg(this, QStringLiteral("Velkor"), tr("帐号或密码错误，请重新输入"));
        return;
    }
    gUser = user;
    FileUtil::createDir(nickname);
    saveConfig(nickname, password);
    emit loginSuccess();
}

void LoginWidget::on_button_create_local_account_clicked()
{
    emit display(1);
}

void LoginWidget::on_button_language_clicked()
{
    auto* dialog = new SelectLanguageDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void LoginWidget::on_check_remember_pwd_toggled(bool checked)
{
    m_rememberPwd = checked;
    // Logging in automatically needs the remembered password.
    ui->check_auto_login->setEnabled(checked);
    if (!checked)
        ui->check_auto_login->setChecked(false);
}

void LoginWidget::on_check_auto_login_toggled(bool checked)
{
    m_autoLogin = checked;
}

void LoginWidget::showUserNickname(QString& nickname)
{
    ui->combo_nickname->addItem(nickname);
    ui->combo_nickname->setEditText(nickname);
    ui->edit_password->clear();
    ui->check_remember_pwd->setChecked(false);
    ui->check_auto_login->setChecked(false);
}

void LoginWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
