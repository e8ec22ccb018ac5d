#include "TimeZoneWidget.h"
#include "ui_TimeZoneWidget.h"

#include "DeviceController.h"
#include "MessageBoxUtil.h"
#include "StringUtil.h"

#include <QSignalBlocker>

#include <iterator>

namespace {

struct ZoneRow
{
    const char* offset;
    const char* id;
    const char* label;
};

// The zones the device knows, in the order the combo lists them.
const ZoneRow ZONES[] = {
    {"0", "841754208", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+00:00 都柏林")},
    {"-60", "-597617369", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+01:00 英国")},
    {"-120", "-1349406261", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+02:00 法国")},
    {"-180", "-458160825", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+03:00 莫斯科")},
    {"-210", "-1267219522", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+03:30 英国")},
    {"-240", "-390143037", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+04:00 阿塞拜疆")},
    {"-270", "-122188769", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+04:30 阿富汗,伊朗")},
    {"-300", "1789498774", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+05:00 莫森")},
    {"-330", "-553797723", "UTC+05:30"},
    {"-345", "492935165", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+05:45 尼泊尔")},
    {"-360", "2122713213", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+06:00 沃斯托克")},
    {"-390", "1711642931", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+06:30 缅甸")},
    {"-420", "-1207455164", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+07:00 泰国")},
    {"-480", "389818429", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+08:00 中国大陆,香港")},
    {"-510", "-225367830", "UTC+08:30"},
    {"-525", "-279006379", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+08:45 尤克拉")},
    {"-540", "-567549795", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+09:00 日本,韩国")},
    {"-570", "163801290", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+09:30 阿德莱德")},
    {"-600", "-1462538715", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+10:00 悉尼")},
    {"-630", "1892904370", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+10:30 豪勋爵")},
    {"-660", "-1547339783", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+11:00 麦格理")},
    {"-720", "-1008984188", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+12:00 麦克默多,新西兰")},
    {"-765", "24312930", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+12:45 查塔姆")},
    {"-780", "122004284", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+13:00 萨摩亚")},
    {"-840", "987027643", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC+14::00 基里地马地岛")},
    {"60", "-671117372", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-01:00 佛得角")},
    {"120", "-476765353", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-02:00 努克")},
    {"180", "-1992580092", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-03:00 阿拉瓜")},
    {"210", "-2015442658", "UTC-03:30"},
    {"240", "1378518433", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-04:00 纽约")},
    {"300", "-2069883963", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-05:00 哥伦比亚")},
    {"360", "311439053", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-06:00 伯利兹")},
    {"420", "587346899", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-07:00 克雷斯顿")},
    {"480", "1638072066", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-08:00 安克雷奇")},
    {"540", "51452679", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-09:00 埃达克")},
    {"570", "-26213643", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-09:30 马克萨斯")},
    {"600", "522810887", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-10:00 檀香山")},
    {"660", "1197690908", QT_TRANSLATE_NOOP("TimeZoneWidget", "UTC-11:00 中途岛")},
    {"720", "1498347095", "UTC-12:00"},
};

const QString WIRE_FORMAT = QStringLiteral("yyyy-MM-dd hh:mm:ss");

} // namespace

TimeZoneWidget::TimeZoneWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::TimeZoneWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    setBusy(false);
    addTimeZone();
    ui->dateTimeEdit->setTimeSpec(Qt::UTC);
    ui->dateTimeEdit->setEnabled(!ui->check_auto_refresh->isChecked());
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &TimeZoneWidget::autoRefreshTime);
    connect(m_controller, &DeviceController::returnTimeSetting, this, &TimeZoneWidget::showTimeSetting);
    connect(m_controller, &DeviceController::returnSettingResult, this, &TimeZoneWidget::settingTimeFeedback);
    connect(m_controller, &DeviceController::busyChanged, this, &TimeZoneWidget::setBusy);
}

TimeZoneWidget::~TimeZoneWidget()
{
    delete ui;
    qDeleteAll(m_zones);
}

void TimeZoneWidget::addTimeZone()
{
    const QSignalBlocker blocker(ui->comboBox);
    for (const ZoneRow& row : ZONES) {
        auto* zone = new TimeZone{QLatin1String(row.offset), QLatin1String(row.id)};
        m_zones << zone;
        ui->comboBox->addItem(tr(row.label), QVariant::fromValue(zone));
    }
    ui->comboBox->setCurrentIndex(-1);
}

void TimeZoneWidget::retranslateZones()
{
    for (int i = 0; i < ui->comboBox->count() && i < int(std::size(ZONES)); ++i)
        ui->comboBox->setItemText(i, tr(ZONES[i].label));
}

void TimeZoneWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->button_apply->setEnabled(!busy);
}

void TimeZoneWidget::setDevice(Device& device)
{
    m_device = device;
    emit m_controller->getTimeSetting(m_device);
}

void TimeZoneWidget::showTimeSetting(QString& text)
{
    auto value = [&text](const char* tag) { return StringUtil::getValue(text, QLatin1String(tag)); };
    // The device's texts are kept as they came; only "TRUE" itself ticks the box.
    m_fskSync = value("FSK_SYNC");
    {
        const QSignalBlocker blocker(ui->check_fsk_async_2);
        ui->check_fsk_async_2->setChecked(m_fskSync == QLatin1String("TRUE"));
    }
    m_fskTimeZone = value("FSK_TIME_ZONE");
    m_fskTimeZoneName = value("FSK_TIME_ZONE_NAME");

    const QString stamp = QStringLiteral("%1-%2-%3 %4:%5:%6")
                              .arg(value("YEAR"), 4, QLatin1Char('0'))
                              .arg(value("MONTH"), 2, QLatin1Char('0'))
                              .arg(value("DAY"), 2, QLatin1Char('0'))
                              .arg(value("HOUR"), 2, QLatin1Char('0'))
                              .arg(value("MINUTE"), 2, QLatin1Char('0'))
                              .arg(value("SECOND"), 2, QLatin1Char('0'));
    // The device's wall clock is kept without a zone, so that no local daylight saving moves it.
    m_clock = QDateTime(QDate::fromString(stamp.left(10), QStringLiteral("yyyy-MM-dd")),
                        QTime::fromString(stamp.mid(11), QStringLiteral("hh:mm:ss")), Qt::UTC);
    ui->dateTimeEdit->setDateTime(m_clock);

    // A pair no row holds leaves the combo empty and the kept texts as the device sent them.
    int found = -1;
    for (int i = 0; i < m_zones.size() && found < 0; ++i)
        if (m_zones[i]->offset == m_fskTimeZone && m_zones[i]->id == m_fskTimeZoneName)
            found = i;
    {
        const QSignalBlocker blocker(ui->comboBox);
        ui->comboBox->setCurrentIndex(found);
    }
    m_timer.start();
}

void TimeZoneWidget::autoRefreshTime()
{
    if (!m_clock.isValid())
        return;
    m_clock = m_clock.addSecs(1);
    if (ui->check_auto_refresh->isChecked())
        ui->dateTimeEdit->setDateTime(m_clock);
}

void TimeZoneWidget::on_comboBox_currentIndexChanged(int index)
{
    auto* zone = ui->comboBox->itemData(index).value<TimeZone*>();
    if (!zone)
        return;
    m_fskTimeZone = zone->offset;
    m_fskTimeZoneName = zone->id;
}

void TimeZoneWidget::on_check_fsk_async_2_stateChanged(int state)
{
    m_fskSync = state == Qt::Unchecked ? QStringLiteral("FALSE") : QStringLiteral("TRUE");
}

void TimeZoneWidget::on_check_auto_refresh_toggled(bool checked)
{
    ui->dateTimeEdit->setEnabled(!checked);
}

void TimeZoneWidget::on_dateTimeEdit_editingFinished()
{
    // A typed time stands until it is applied.
    ui->check_auto_refresh->setChecked(false);
}

void TimeZoneWidget::on_button_apply_clicked()
{
    const QString stamp = ui->dateTimeEdit->dateTime().toString(WIRE_FORMAT);
    QString year = stamp.mid(0, 4);
    QString month = stamp.mid(5, 2);
    QString day = stamp.mid(8, 2);
    QString hour = stamp.mid(11, 2);
    QString minute = stamp.mid(14, 2);
    QString second = stamp.mid(17, 2);
    emit m_controller->setTimeSetting(m_device, year, month, day, hour, minute, second, m_fskSync, m_fskTimeZone,
                                      m_fskTimeZoneName);
}

void TimeZoneWidget::settingTimeFeedback(QString& feedback)
{
    if (feedback == QLatin1String("OK"))
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("服务器时间设置修改成功"));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("服务器时间设置修改失败"));
}

void TimeZoneWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        retranslateZones();
    }
    QWidget::changeEvent(event);
}
