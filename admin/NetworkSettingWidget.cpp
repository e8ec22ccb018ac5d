#include "NetworkSettingWidget.h"
#include "ui_NetworkSettingWidget.h"

#include "DeviceController.h"
#include "MessageBoxUtil.h"
#include "StringUtil.h"

#include <QButtonGroup>

namespace {

const QString NO_ADDRESS = QStringLiteral("0.0.0.0");

QString orNoAddress(const QString& value)
{
    return value.isEmpty() ? NO_ADDRESS : value;
}

} // namespace

NetworkSettingWidget::NetworkSettingWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::NetworkSettingWidget), m_controller(new DeviceController(this)),
      m_group(new QButtonGroup(this))
{
    ui->setupUi(this);
    setBusy(false);
    m_group->addButton(ui->radio_manual, 0);
    m_group->addButton(ui->radio_dhcp, 1);
    // idToggled is the group's toggle by button id (the old int overload of buttonToggled).
    connect(m_group, &QButtonGroup::idToggled, this, &NetworkSettingWidget::buttonGroupToggled);
    connect(ui->checkBox, &QCheckBox::toggled, this, [this](bool on) { m_verify = on; });
    connect(m_controller, &DeviceController::returnNetworkSetting, this, &NetworkSettingWidget::showNetworkSetting);
    connect(m_controller, &DeviceController::returnSettingResult, this, &NetworkSettingWidget::settingNetworkFeedback);
    connect(m_controller, &DeviceController::busyChanged, this, &NetworkSettingWidget::setBusy);
}

NetworkSettingWidget::~NetworkSettingWidget()
{
    delete ui;
}

void NetworkSettingWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->button_apply->setEnabled(!busy);
}

void NetworkSettingWidget::setDevice(Device& device)
{
    m_device = device;
    emit m_controller->getNetworkSetting(m_device);
}

void NetworkSettingWidget::showNetworkSetting(QString& text)
{
    auto value = [&text](const char* tag) { return StringUtil::getValue(text, QLatin1String(tag)); };
    ui->edit_macAddress->setText(value("MAC"));
    ui->edit_ipAddress->setText(value("IP"));
    ui->edit_ipAddress2->setText(orNoAddress(value("IP2")));
    ui->edit_ipAddress3->setText(orNoAddress(value("IP3")));
    ui->edit_subnet_mask->setText(value("SUBNETMASK"));
    ui->edit_router->setText(value("GATEWAY"));
    ui->edit_dns->setText(value("DNS"));
    ui->label_status->setText(value("INTERNET"));
    const bool manual = value("DHCPENABLE") == QLatin1String("disable");
    (manual ? ui->radio_manual : ui->radio_dhcp)->setChecked(true);
    // A radio that was checked already gives no toggle: set the edits and the kept text here.
    buttonGroupToggled(manual ? 0 : 1, true);
}

void NetworkSettingWidget::buttonGroupToggled(int id, bool checked)
{
    if (!checked)
        return;
    const bool manual = id == 0;
    for (QLineEdit* edit : {ui->edit_ipAddress, ui->edit_ipAddress2, ui->edit_ipAddress3, ui->edit_subnet_mask,
                            ui->edit_router, ui->edit_dns})
        edit->setEnabled(manual);
    m_dhcpEnable = manual ? QStringLiteral("disable") : QStringLiteral("enable");
}

void NetworkSettingWidget::on_button_apply_clicked()
{
    QString ip = ui->edit_ipAddress->text();
    QString ip2 = ui->edit_ipAddress2->text();
    QString ip3 = ui->edit_ipAddress3->text();
    QString mask = ui->edit_subnet_mask->text();
    QString gateway = ui->edit_router->text();
    QString dns = ui->edit_dns->text();
    emit m_controller->setNetworkSetting(m_device, m_dhcpEnable, ip, ip2, ip3, mask, gateway, dns, m_verify);
}

void NetworkSettingWidget::settingNetworkFeedback(QString& feedback)
{
    // A device whose address changed may not answer at all: that, too, reads as failure.
    if (feedback == QLatin1String("OK"))
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("修改网咯参数设置成功"));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("修改网咯参数设置失败"));
}

void NetworkSettingWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
