#include "DeviceLogWidget.h"
#include "ui_DeviceLogWidget.h"

#include "AppSettings.h"
#include "DeviceController.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"

#include <QDate>
#include <QDateTime>
#include <QProcess>
#include <QStandardPaths>

DeviceLogWidget::DeviceLogWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::DeviceLogWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    ui->date_begin->setDisplayFormat(QStringLiteral("yyyy/MM/dd"));
    ui->date_end->setDisplayFormat(QStringLiteral("yyyy/MM/dd"));
    // The device answers for seven days from the first date.
    const QDate today = QDate::currentDate();
    ui->date_begin->setDate(today.addDays(-6));
    ui->date_end->setDate(today);
    ui->label_progress->clear();
    ui->progressBar->setValue(0);
    setBusy(false);
    connect(m_controller, &DeviceController::showDeviceLogProgress, this, &DeviceLogWidget::showProgress);
    connect(m_controller, &DeviceController::returnDeviceLog, this, &DeviceLogWidget::openDeviceLog);
    connect(m_controller, &DeviceController::busyChanged, this, &DeviceLogWidget::setBusy);
    connect(m_controller, &DeviceController::returnDeviceLogFailedDays, this, &DeviceLogWidget::showFailedDays);
}

DeviceLogWidget::~DeviceLogWidget()
{
    delete ui;
}

void DeviceLogWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->button_view_log->setEnabled(!busy);
    // A fetch that ended without its log leaves no half-full bar behind.
    if (!busy && ui->progressBar->value() < 100) {
        ui->label_progress->clear();
        ui->progressBar->setValue(0);
    }
}

void DeviceLogWidget::showFailedDays(const QStringList& days)
{
    MessageBoxUtil::warningMsg(this, tr("Velkor 消息"),
                               tr("以下日期的日志未能从设备取得：%1").arg(days.join(QStringLiteral(", "))));
}

void DeviceLogWidget::setDevice(Device& device)
{
    m_device = device;
}

void DeviceLogWidget::on_button_view_log_clicked()
{
    const QDateTime from(ui->date_begin->date(), QTime(0, 0));
    const QDateTime to(ui->date_end->date(), QTime(0, 0));
    ui->progressBar->setValue(0);
    emit m_controller->getDeviceLog(m_device, from, to);
}

void DeviceLogWidget::showProgress(QString& date, int percent)
{
    ui->label_progress->setText(date);
    ui->progressBar->setValue(percent);
}

QStringList DeviceLogWidget::viewerCommand(const QString& path)
{
    QString line = AppSettings::userConfig()->value(AppSettings::KEY_LOG_VIEWER).toString().trimmed();
    if (line.isEmpty())
        line = QStandardPaths::findExecutable(QStringLiteral("gedit")).isEmpty() ? QStringLiteral("xdg-open %1")
                                                                                 : QStringLiteral("gedit %1");
    QStringList command = QProcess::splitCommand(line);
    bool placed = false;
    for (QString& part : command)
        if (part.contains(QLatin1String("%1"))) {
            part.replace(QLatin1String("%1"), path);
            placed = true;
        }
    if (!command.isEmpty() && !placed)
        command << path;
    return command;
}

void DeviceLogWidget::openDeviceLog(QString& path)
{
    ui->progressBar->setValue(100);
    QStringList command = viewerCommand(path);
    // The viewer runs on its own: it stays open when the panel or the program goes.
    const QString program = command.isEmpty() ? QString() : command.takeFirst();
    if (!program.isEmpty() && QProcess::startDetached(program, command))
        return;
    LogUtil::w(QStringLiteral("log viewer %1 did not start for %2").arg(program, path));
    MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法打开日志查看程序，日志已保存在：%1").arg(path));
}

void DeviceLogWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
