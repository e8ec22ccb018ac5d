#include "SettingDialog.h"
#include "ui_SettingDialog.h"

#include "AppSettings.h"

#include <QEvent>

SettingDialog::SettingDialog(QWidget* parent) : QDialog(parent), ui(new Ui::SettingDialog)
{
    ui->setupUi(this);
    // A value written by hand outside the range is shown clamped; it stays stored until accepted.
    ui->spin_fax_time->setValue(
        AppSettings::userConfig()->value(AppSettings::KEY_GET_FAX_TIME, AppSettings::DEFAULT_GET_FAX_TIME).toInt());
}

SettingDialog::~SettingDialog()
{
    delete ui;
}

void SettingDialog::accept()
{
    auto settings = AppSettings::userConfig();
    settings->setValue(AppSettings::KEY_GET_FAX_TIME, ui->spin_fax_time->value());
    settings->sync();
    QDialog::accept();
}

void SettingDialog::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QDialog::changeEvent(event);
}
