#include "AutoOutputDialog.h"
#include "ui_AutoOutputDialog.h"

#include "AppSettings.h"
#include "DialogUtil.h"
#include "FaxExporter.h"
#include "MessageBoxUtil.h"

AutoOutputDialog::AutoOutputDialog(QWidget* parent) : QDialog(parent), ui(std::make_unique<Ui::AutoOutputDialog>())
{
    ui->setupUi(this);

    using namespace AutoExportKeys;
    auto settings = AppSettings::userSetting();
    ui->check_receive_output->setChecked(settings->value(RECV_AUTO_SAVE_AS, false).toBool());
    ui->check_receive_subfolder->setChecked(settings->value(RECV_SAVE_SUBFOLDER, false).toBool());
    ui->combo_receive_output_type->setCurrentIndex(settings->value(RECV_AUTO_SAVE_AS_TYPE, 0).toInt());
    ui->edit_receive_output_path->setText(settings->value(RECV_AUTO_SAVE_AS_PATH).toString());
    ui->combo_receive_subfolder->setCurrentIndex(settings->value(RECV_AUTO_SAVE_AS_SUBFOLDER, 0).toInt());
    ui->check_send_output->setChecked(settings->value(SEND_AUTO_SAVE_AS, false).toBool());
    ui->check_send_subfolder->setChecked(settings->value(SEND_SAVE_SUBFOLDER, false).toBool());
    ui->combo_send_output_type->setCurrentIndex(settings->value(SEND_AUTO_SAVE_AS_TYPE, 0).toInt());
    ui->edit_send_output_path->setText(settings->value(SEND_AUTO_SAVE_AS_PATH).toString());
    ui->combo_send_subfolder->setCurrentIndex(settings->value(SEND_AUTO_SAVE_AS_SUBFOLDER, 0).toInt());

    enableReceive(ui->check_receive_output->isChecked());
    enableSend(ui->check_send_output->isChecked());
}

AutoOutputDialog::~AutoOutputDialog() = default;

void AutoOutputDialog::enableReceive(bool on)
{
    ui->edit_receive_output_path->setEnabled(on);
    ui->button_receive_output_path->setEnabled(on);
    ui->combo_receive_output_type->setEnabled(on);
    ui->check_receive_subfolder->setEnabled(on);
    ui->combo_receive_subfolder->setEnabled(on);
}

void AutoOutputDialog::enableSend(bool on)
{
    ui->edit_send_output_path->setEnabled(on);
    ui->button_send_ooutput_path->setEnabled(on);
    ui->combo_send_output_type->setEnabled(on);
    ui->check_send_subfolder->setEnabled(on);
    ui->combo_send_subfolder->setEnabled(on);
}

void AutoOutputDialog::on_check_receive_output_stateChanged(int state)
{
    enableReceive(state != Qt::Unchecked);
}

void AutoOutputDialog::on_check_send_output_stateChanged(int state)
{
    enableSend(state != Qt::Unchecked);
}

void AutoOutputDialog::on_button_receive_output_path_clicked()
{
    const QString dir = DialogUtil::getExistingDirectory(this, QStringLiteral("Open Directory"), QStringLiteral("/home"));
    if (!dir.isEmpty())
        ui->edit_receive_output_path->setText(dir);
}

void AutoOutputDialog::on_button_send_ooutput_path_clicked()
{
    const QString dir = DialogUtil::getExistingDirectory(this, QStringLiteral("Open Directory"), QStringLiteral("/home"));
    if (!dir.isEmpty())
        ui->edit_send_output_path->setText(dir);
}

void AutoOutputDialog::on_button_apply_clicked()
{
    using namespace AutoExportKeys;
    auto settings = AppSettings::userSetting();
    settings->setValue(RECV_AUTO_SAVE_AS, ui->check_receive_output->isChecked());
    settings->setValue(RECV_SAVE_SUBFOLDER, ui->check_receive_subfolder->isChecked());
    settings->setValue(RECV_AUTO_SAVE_AS_TYPE, ui->combo_receive_output_type->currentIndex());
    settings->setValue(RECV_AUTO_SAVE_AS_PATH, ui->edit_receive_output_path->text());
    settings->setValue(RECV_AUTO_SAVE_AS_SUBFOLDER, ui->combo_receive_subfolder->currentIndex());
    settings->setValue(SEND_AUTO_SAVE_AS, ui->check_send_output->isChecked());
    settings->setValue(SEND_SAVE_SUBFOLDER, ui->check_send_subfolder->isChecked());
    settings->setValue(SEND_AUTO_SAVE_AS_TYPE, ui->combo_send_output_type->currentIndex());
    settings->setValue(SEND_AUTO_SAVE_AS_PATH, ui->edit_send_output_path->text());
    settings->setValue(SEND_AUTO_SAVE_AS_SUBFOLDER, ui->combo_send_subfolder->currentIndex());
    settings->sync();
    if (settings->status() != QSettings::NoError) {
        MessageBoxUtil::warningMsg(this, tr("传真自动输出"), tr("无法保存设置：%1").arg(settings->fileName()));
        return;
    }
    const auto state = [](bool on, const QString& path) {
        return on ? tr("输出到 %1").arg(path) : tr("不输出");
    };
    MessageBoxUtil::infoMsg(this, tr("传真自动输出"),
                            tr("设置已保存。\n接收的传真：%1\n发送的传真：%2")
                                .arg(state(ui->check_receive_output->isChecked(), ui->edit_receive_output_path->text()),
                                     state(ui->check_send_output->isChecked(), ui->edit_send_output_path->text())));
}
