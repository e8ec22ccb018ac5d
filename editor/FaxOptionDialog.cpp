#include "FaxOptionDialog.h"
#include "ui_FaxOptionDialog.h"

#include "AppSettings.h"
#include "FaxStatus.h"

namespace {
const QString KEY_DIAL_TOTAL = QStringLiteral("/SendFaxOptions/DialTotal");
const QString KEY_RETRY_TIME = QStringLiteral("/SendFaxOptions/DialRetryTime");
const QString KEY_DISABLE_HEADER = QStringLiteral("/SendFaxOptions/DisablePageHeader");
const QString KEY_DISABLE_PREFIX = QStringLiteral("/SendFaxOptions/DisableDialPrefix");
const QString KEY_PRIORITY = QStringLiteral("/SendFaxOptions/TaskPriority");
const QString KEY_QUALITY = QStringLiteral("/SendFaxOptions/TaskQuality");

// The combo lists 低, 普通, 高, 紧急 in the order of FaxPriorityEnum from FAX_PRIORITY_LOW on.
// Only the combo and the saved default hold its index; the job, FAXES, the upload header and
// the outbox hold the enum value.
int priorityOfIndex(int index)
{
    return qBound(0, index, 3) + FaxStatus::FAX_PRIORITY_LOW;
}

int indexOfPriority(int priority)
{
    return qBound(0, priority - FaxStatus::FAX_PRIORITY_LOW, 3);
}
}

FaxOptionDialog::FaxOptionDialog(FaxOption& option, QWidget* parent)
    : QDialog(parent), ui(new Ui::FaxOptionDialog), m_option(option)
{
    ui->setupUi(this);

    // The dialog shows what the job holds; a schedule that is off starts from now.
    ui->check_start_at->setChecked(option.planEnabled);
    ui->date_start_at->setDateTime(option.planEnabled && option.dateTimePlan.isValid() ? option.dateTimePlan
                                                                                       : QDateTime::currentDateTime());

    ui->check_cancal_fax_after->setChecked(option.stopEnabled);
    ui->date_cancel_fax_after->setDateTime(option.stopEnabled && option.dateTimeStop.isValid()
                                               ? option.dateTimeStop
                                               : QDateTime::currentDateTime().addDays(1));

    ui->check_enable_from->setChecked(option.windowEnabled);
    if (option.windowEnabled) {
        ui->time_enable_from->setTime(option.timeFrom);
        ui->time_enable_to->setTime(option.timeTo);
    }

    ui->spin_dialog_total->setValue(option.dialogTotal);
    ui->spin_retry_time->setValue(option.retryTime);
    ui->combo_priority->setCurrentIndex(indexOfPriority(option.priority));
    ui->combo_fax_quality->setCurrentIndex(option.quality);
    ui->check_dis_header->setChecked(option.disableHeader);
    ui->check_dis_dial_prefix->setChecked(option.disabeDialPrefix);

    on_check_start_at_stateChanged(ui->check_start_at->checkState());
    on_check_cancal_fax_after_stateChanged(ui->check_cancal_fax_after->checkState());
    on_check_enable_from_stateChanged(ui->check_enable_from->checkState());
}

FaxOptionDialog::~FaxOptionDialog()
{
    delete ui;
}

FaxOption FaxOptionDialog::loadDefaults()
{
    auto settings = AppSettings::userSetting();
    FaxOption option;
    option.dialogTotal = settings->value(KEY_DIAL_TOTAL, 5).toInt();
    option.retryTime = settings->value(KEY_RETRY_TIME, 1).toInt();
    option.disableHeader = settings->value(KEY_DISABLE_HEADER, false).toBool();
    option.disabeDialPrefix = settings->value(KEY_DISABLE_PREFIX, false).toBool();
    option.priority = priorityOfIndex(settings->value(KEY_PRIORITY, 2).toInt());
    option.quality = settings->value(KEY_QUALITY, 1).toInt();
    return option;
}

void FaxOptionDialog::saveDefaults(const FaxOption& option)
{
    auto settings = AppSettings::userSetting();
    settings->setValue(KEY_DIAL_TOTAL, option.dialogTotal);
    settings->setValue(KEY_RETRY_TIME, option.retryTime);
    settings->setValue(KEY_DISABLE_HEADER, option.disableHeader);
    settings->setValue(KEY_DISABLE_PREFIX, option.disabeDialPrefix);
    settings->setValue(KEY_PRIORITY, indexOfPriority(option.priority));
    settings->setValue(KEY_QUALITY, option.quality);
    settings->sync();
}

void FaxOptionDialog::on_button_ok_clicked()
{
    FaxOption option;
    option.priority = priorityOfIndex(ui->combo_priority->currentIndex());
    // The quality combo's index is the value the device receives.
    option.quality = ui->combo_fax_quality->currentIndex();
    option.dialogTotal = ui->spin_dialog_total->value();
    option.retryTime = ui->spin_retry_time->value();
    option.disableHeader = ui->check_dis_header->isChecked();
    option.disabeDialPrefix = ui->check_dis_dial_prefix->isChecked();

    option.planEnabled = ui->check_start_at->isChecked();
    option.dateTimePlan = option.planEnabled ? ui->date_start_at->dateTime() : QDateTime();
    option.stopEnabled = ui->check_cancal_fax_after->isChecked();
    option.dateTimeStop = option.stopEnabled ? ui->date_cancel_fax_after->dateTime() : QDateTime();
    option.windowEnabled = ui->check_enable_from->isChecked();
    option.timeFrom = option.windowEnabled ? ui->time_enable_from->time() : QTime();
    option.timeTo = option.windowEnabled ? ui->time_enable_to->time() : QTime();

    m_option = option;
    if (ui->check_save_default->isChecked())
        saveDefaults(option);
    accept();
}

void FaxOptionDialog::on_button_cancel_clicked()
{
    reject();
}

void FaxOptionDialog::on_check_start_at_stateChanged(int state)
{
    ui->date_start_at->setEnabled(state == Qt::Checked);
}

void FaxOptionDialog::on_check_cancal_fax_after_stateChanged(int state)
{
    ui->date_cancel_fax_after->setEnabled(state == Qt::Checked);
}

void FaxOptionDialog::on_check_enable_from_stateChanged(int state)
{
    ui->time_enable_from->setEnabled(state == Qt::Checked);
    ui->time_enable_to->setEnabled(state == Qt::Checked);
}
