#include "FaxSettingWidget.h"
#include "ui_FaxSettingWidget.h"

#include "DeviceController.h"
#include "FaxDetailWidget.h"
#include "StringUtil.h"

FaxSettingWidget::FaxSettingWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::FaxSettingWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    setBusy(false);
    connect(m_controller, &DeviceController::returnServerInfomation, this, &FaxSettingWidget::showServerInfomation);
    connect(m_controller, &DeviceController::busyChanged, this, &FaxSettingWidget::setBusy);
}

FaxSettingWidget::~FaxSettingWidget()
{
    delete ui;
}

void FaxSettingWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
}

void FaxSettingWidget::removeTabs()
{
    while (ui->tabWidget->count() > 0) {
        QWidget* page = ui->tabWidget->widget(0);
        ui->tabWidget->removeTab(0);
        page->deleteLater();
    }
}

void FaxSettingWidget::setDevice(Device& device)
{
    removeTabs();
    m_device = device;
    emit m_controller->getServerInfomation(m_device);
}

void FaxSettingWidget::showServerInfomation(QString& text)
{
    // The device names its lines in LINE_STAT; a second line shows as "LINE2".
    removeTabs();
    const bool twoLines = StringUtil::getValue(text, QStringLiteral("LINE_STAT")).contains(QLatin1String("LINE2"));
    QString line = QStringLiteral("1");
    ui->tabWidget->addTab(new FaxDetailWidget(m_device, line), tr("线路1"));
    if (twoLines) {
        line = QStringLiteral("2");
        ui->tabWidget->addTab(new FaxDetailWidget(m_device, line), tr("线路2"));
    }
}

void FaxSettingWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        for (int i = 0; i < ui->tabWidget->count(); ++i)
            ui->tabWidget->setTabText(i, i == 0 ? tr("线路1") : tr("线路2"));
    }
    QWidget::changeEvent(event);
}
