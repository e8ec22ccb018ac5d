#include "VersionStatusWidget.h"
#include "ui_VersionStatusWidget.h"

#include "DeviceController.h"
#include "StringUtil.h"

#include <QCloseEvent>
#include <QTimer>

namespace {

QString lineName(const QString& name)
{
    if (name == QLatin1String("LINE1"))
        return VersionStatusWidget::tr("线路1:");
    if (name == QLatin1String("LINE2"))
        return VersionStatusWidget::tr("线路2:");
    return VersionStatusWidget::tr("未知:");
}

QString lineState(const QString& state)
{
    if (state == QLatin1String("IDLE"))
        return VersionStatusWidget::tr("空闲");
    if (state == QLatin1String("SENDING"))
        return VersionStatusWidget::tr("发送中");
    if (state == QLatin1String("RECVING"))
        return VersionStatusWidget::tr("接受中");
    if (state == QLatin1String("RINGING"))
        return VersionStatusWidget::tr("正在振铃");
    if (state == QLatin1String("PICKUP"))
        return VersionStatusWidget::tr("已摘机");
    // UNKNOWN and whatever else the device may say: the line cannot be used.
    return VersionStatusWidget::tr("断开");
}

} // namespace

VersionStatusWidget::VersionStatusWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::VersionStatusWidget), m_controller(new DeviceController(this)),
      m_timer(new QTimer(this))
{
    ui->setupUi(this);
    setBusy(false);
    connect(m_controller, &DeviceController::returnServerInfomation, this, &VersionStatusWidget::showInfomation);
    connect(m_controller, &DeviceController::busyChanged, this, &VersionStatusWidget::setBusy);
    connect(m_timer, &QTimer::timeout, this, &VersionStatusWidget::getServerInfomation);
}

VersionStatusWidget::~VersionStatusWidget()
{
    delete ui;
}

void VersionStatusWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->button_refresh->setEnabled(!busy);
}

void VersionStatusWidget::setDevice(Device& device)
{
    m_device = device;
    getServerInfomation();
}

void VersionStatusWidget::on_button_refresh_clicked()
{
    getServerInfomation();
}

void VersionStatusWidget::getServerInfomation()
{
    emit m_controller->getServerInfomation(m_device);
}

QString VersionStatusWidget::lineEntries(const QString& value, bool state)
{
    QString text;
    for (const QString& entry : value.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const int colon = entry.indexOf(QLatin1Char(':'));
        const QString name = colon < 0 ? entry : entry.left(colon);
        const QString word = colon < 0 ? QString() : entry.mid(colon + 1);
        text += lineName(name) + (state ? lineState(word) : word) + QLatin1Char('\t');
    }
    return text;
}

void VersionStatusWidget::showInfomation(QString& text)
{
    m_lastInfo = text;
    auto value = [&text](const char* tag) { return StringUtil::getValue(text, QLatin1String(tag)); };
    ui->label_hwver->setText(value("HWVER"));
    ui->label_biosver->setText(value("BIOSVER"));
    ui->label_osver->setText(value("OSVER"));
    ui->label_swver->setText(value("SWVER"));
    ui->label_mdmver->setText(value("MDM_VER"));
    ui->label_build_time->setText(value("BUILD_TIME"));
    const QString all = value("SPACE_ALL");
    const QString free = value("SPACE_FREE");
    ui->label_space->setText(all.isEmpty() && free.isEmpty() ? QString() : tr("总大小:%1MB 剩余:%2MB").arg(all, free));
    ui->label_cid_type->setText(lineEntries(value("CID_TYPE"), false));
    ui->label_line_stat->setText(lineEntries(value("LINE_STAT"), true));
}

void VersionStatusWidget::closeEvent(QCloseEvent* event)
{
    m_timer->stop();
    QWidget::closeEvent(event);
}

void VersionStatusWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        showInfomation(m_lastInfo);
    }
    QWidget::changeEvent(event);
}
