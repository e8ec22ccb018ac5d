#include "EmailSettingWidget.h"
#include "ui_EmailSettingWidget.h"

#include "DeviceController.h"
#include "MessageBoxUtil.h"
#include "StringUtil.h"

EmailSettingWidget::EmailSettingWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::EmailSettingWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    setBusy(false);
    connect(m_controller, &DeviceController::returnEmailSetting, this, &EmailSettingWidget::showEmailSetting);
    connect(m_controller, &DeviceController::returnSettingResult, this, &EmailSettingWidget::settingEmailFeedback);
    connect(m_controller, &DeviceController::busyChanged, this, &EmailSettingWidget::setBusy);
}

EmailSettingWidget::~EmailSettingWidget()
{
    delete ui;
}

void EmailSettingWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->button_apply->setEnabled(!busy);
}

void EmailSettingWidget::setDevice(Device& device)
{
    m_device = device;
    emit m_controller->getEmailSetting(m_device);
}

void EmailSettingWidget::showEmailSetting(QString& text)
{
    // The device never sends the password back; its field keeps what it holds.
    ui->edit_smtpAddress->setText(StringUtil::getValue(text, QStringLiteral("SMTP_ADDR")));
    ui->edit_smtpUser->setText(StringUtil::getValue(text, QStringLiteral("SMTP_USER")));
    ui->edit_emailFrom->setText(StringUtil::getValue(text, QStringLiteral("EMAIL_ADDR_FROM")));
}

void EmailSettingWidget::on_button_apply_clicked()
{
    QString server = ui->edit_smtpAddress->text();
    QString user = ui->edit_smtpUser->text();
    QString from = ui->edit_emailFrom->text();
    QString password = ui->edit_smtpPwd->text();
    emit m_controller->setEmailSetting(m_device, server, user, from, password);
}

void EmailSettingWidget::settingEmailFeedback(QString& feedback)
{
    if (feedback == QLatin1String("OK"))
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("修改公共SMTP设置成功"));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("修改公共SMTP设置失败"));
}

void EmailSettingWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
