#include "SettingDialog.h"
#include "ui_SettingDialog.h"

#include "AppSettings.h"

#include <QEvent>

SettingDialog::SettingDialog(QWidget* parent) : QDialog(parent), ui(new Ui::SettingDialog)
{
    ui->setupUi(this);
    // A value written by hand outside the range is shown clamped; it stays stored until accepted.
    auto settings = AppSettings::userConfig();
    ui->spin_fax_time->setValue(
        settings->value(AppSettings::KEY_GET_FAX_TIME, AppSettings::DEFAULT_GET_FAX_TIME).toInt());
    ui->edit_ocr_program->setText(settings->value(AppSettings::KEY_OCR_PROGRAM).toString());
    ui->edit_log_viewer->setText(settings->value(AppSettings::KEY_LOG_VIEWER).toString());
    ui->edit_address_service->setText(settings->value(AppSettings::KEY_ADDRESS_SERVICE_URL).toString());
    ui->check_minimize_to_tray->setChecked(settings->value(AppSettings::KEY_MINIMIZE_TO_TRAY, false).toBool());
}

SettingDialog::~SettingDialog()
{
    delete ui;
}

void SettingDialog::accept()
{
    auto settings = AppSettings::userConfig();
    settings->setValue(AppSettings::KEY_GET_FAX_TIME, ui->spin_fax_time->value());
    settings->setValue(AppSettings::KEY_OCR_PROGRAM, ui->edit_ocr_program->text().trimmed());
    settings->setValue(AppSettings::KEY_LOG_VIEWER, ui->edit_log_viewer->text().trimmed());
    settings->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, ui->edit_address_service->text().trimmed());
    settings->setValue(AppSettings::KEY_MINIMIZE_TO_TRAY, ui->check_minimize_to_tray->isChecked());
    settings->sync();
    QDialog::accept();
}

void SettingDialog::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QDialog::changeEvent(event);
}
