#include "FaxDetailWidget.h"
#include "ui_FaxDetailWidget.h"

#include "DeviceController.h"
#include "MessageBoxUtil.h"
#include "StringUtil.h"

#include <QVariant>

namespace {

constexpr int ECM_SEND = 1;
constexpr int ECM_RECEIVE = 2;
constexpr int BASE_SEND_SPEEDS = 6;    // codes 0 to 5
constexpr int BASE_RECEIVE_SPEEDS = 4; // 2400, 4800, 9600, 14400
const QStringList HIGH_SPEEDS = {QStringLiteral("16800 bps"), QStringLiteral("19200 bps"), QStringLiteral("21600 bps"),
                                 QStringLiteral("24000 bps"), QStringLiteral("26400 bps"), QStringLiteral("28800 bps"),
                                 QStringLiteral("31200 bps"), QStringLiteral("33600 bps")};

// Empty, "false" and "0" read as false, anything else as true.
bool flag(const QString& text)
{
    return QVariant(text).toBool();
}

} // namespace

FaxDetailWidget::FaxDetailWidget(Device& device, QString& line, QWidget* parent)
    : QWidget(parent), ui(new Ui::FaxDetailWidget), m_device(device), m_line(line),
      m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    setBusy(false);
    connect(m_controller, &DeviceController::returnFaxSetting, this, &FaxDetailWidget::showFaxSetting);
    connect(m_controller, &DeviceController::returnSettingResult, this, &FaxDetailWidget::settingFaxFeedback);
    connect(m_controller, &DeviceController::busyChanged, this, &FaxDetailWidget::setBusy);
    emit m_controller->getFaxSetting(m_device, m_line);
}

FaxDetailWidget::~FaxDetailWidget()
{
    delete ui;
}

int FaxDetailWidget::recvSpeedIndex(int code)
{
    if (code < 3)
        return code;
    if (code == 3)
        return 2;
    if (code <= 5)
        return 3;
    return code - 2;
}

int FaxDetailWidget::recvSpeedCode(int index)
{
    if (index < 2)
        return index;
    if (index == 2)
        return 3;
    return index + 2;
}

void FaxDetailWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->widget_form->setEnabled(!busy);
    ui->button_apply->setEnabled(!busy);
}

void FaxDetailWidget::addHighSpeeds()
{
    if (ui->combo_send_speed->count() == BASE_SEND_SPEEDS)
        ui->combo_send_speed->addItems(HIGH_SPEEDS);
    if (ui->combo_receive_speed->count() == BASE_RECEIVE_SPEEDS)
        ui->combo_receive_speed->addItems(HIGH_SPEEDS);
}

void FaxDetailWidget::showFaxSetting(QString& text)
{
    auto value = [&text](const char* tag) { return StringUtil::getValue(text, QLatin1String(tag)); };
    if (value("SUPPORT_SPEED").toInt() > 5)
        addHighSpeeds();

    ui->edit_company->setText(value("COMPANY"));
    ui->edit_fax_num->setText(value("FAX_NUM"));
    ui->edit_fax_csid->setText(value("CSID"));
    ui->combo_send_speed->setCurrentIndex(value("MAX_SPEED").toInt());
    ui->combo_receive_speed->setCurrentIndex(recvSpeedIndex(value("RECV_SPEED").toInt()));
    const int ecm = value("ECM").toInt();
    ui->check_send_ecm->setChecked(ecm & ECM_SEND);
    ui->check_receive_ecm->setChecked(ecm & ECM_RECEIVE);
    ui->check_send_voice_tips->setChecked(flag(value("DIS_SEND_VOICE")));
    ui->check_receive_voice_tips->setChecked(flag(value("DIS_WELCOME")));
    const QString priority = value("SEND_PRIORITY");
    const bool disabled = priority == QLatin1String("-1");
    ui->check_disable_line_send->setChecked(disabled);
    ui->combo_send_priority->setCurrentText(disabled ? QStringLiteral("5") : priority);
    ui->edit_ring_cnt->setText(value("RINGCNT"));
    ui->check_disable_deep->setChecked(flag(value("DIS_BEEP")));
    ui->check_reset_line->setChecked(flag(value("RST_LINE")));
    ui->check_ext_err_recv->setChecked(flag(value("DIVERR_RECV")));
    ui->check_auto_recv->setChecked(flag(value("AUTO_RECV")));
    ui->check_must_ext->setChecked(flag(value("MUST_DIV")));
    ui->combo_mrecv_code->setCurrentText(value("MRECV_CODE"));
    ui->edit_tag_format->setText(value("TAG_FORMAT"));
    ui->edit_ip_prf->setText(value("IP_PRF"));
    ui->edit_local_code->setText(value("LOCAL_CODE"));
    ui->edit_out_prf->setText(value("OUT_PRF"));
    ui->edit_in_prf->setText(value("IN_PRF"));
}

void FaxDetailWidget::on_button_apply_clicked()
{
    QString tagFormat = ui->edit_tag_format->text();
    QString company = ui->edit_company->text();
    QString faxNum = ui->edit_fax_num->text();
    QString csid = ui->edit_fax_csid->text();
    QString localCode = ui->edit_local_code->text();
    QString ipPrf = ui->edit_ip_prf->text();
    QString outPrf = ui->edit_out_prf->text();
    QString inPrf = ui->edit_in_prf->text();
    QString mrecvCode = ui->combo_mrecv_code->currentText();
    QString ecm = QString::number((ui->check_send_ecm->isChecked() ? ECM_SEND : 0)
                                  | (ui->check_receive_ecm->isChecked() ? ECM_RECEIVE : 0));
    QString sendPriority = ui->check_disable_line_send->isChecked() ? QStringLiteral("-1")
                                                                     : ui->combo_send_priority->currentText();
    QString ringCnt = ui->edit_ring_cnt->text();
    emit m_controller->setFaxSetting(m_device, tagFormat, company, faxNum, csid, localCode, ipPrf, outPrf, inPrf,
                                     mrecvCode, m_line, ui->check_reset_line->isChecked(),
                                     ui->check_auto_recv->isChecked(), ui->check_must_ext->isChecked(),
                                     ui->check_disable_deep->isChecked(), ui->check_ext_err_recv->isChecked(),
                                     ui->check_send_voice_tips->isChecked(), ui->check_receive_voice_tips->isChecked(),
                                     ui->combo_send_speed->currentIndex(),
                                     recvSpeedCode(ui->combo_receive_speed->currentIndex()), ecm, sendPriority,
                                     ringCnt);
}

void FaxDetailWidget::settingFaxFeedback(QString& feedback)
{
    if (feedback == QLatin1String("OK"))
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("设置服务器传真参数成功"));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("设置服务器传真参数失败"));
}

void FaxDetailWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
