#include "ManualAssignWidget.h"
#include "ui_ManualAssignWidget.h"

#include "NetworkUtil.h"

#include <QEvent>

ManualAssignWidget::ManualAssignWidget(QWidget* parent) : QWidget(parent), ui(new Ui::ManualAssignWidget)
{
    ui->setupUi(this);
}

ManualAssignWidget::~ManualAssignWidget()
{
    delete ui;
}

Device ManualAssignWidget::deviceFromInput(const QString& target, const QString& account, const QString& password)
{
    QString address;
    int port = 3001;
    NetworkUtil::splitPort(target.trimmed(), address, port);

    Device device;
    device.deviceName = account;
    device.devicePassword = password;
    device.internetPort = port;
    if (!NetworkUtil::isIpAddr(address))
        device.productID = address.toUpper();
    else if (NetworkUtil::isLocalIP(address.toStdString()))
        device.localIP = address;
    else
        device.remoteIP = address;
    return device;
}

void ManualAssignWidget::setBusy(bool busy)
{
    ui->button_verify->setEnabled(!busy);
}

void ManualAssignWidget::on_button_verify_clicked()
{
    Device device = deviceFromInput(ui->edit_device->text(), ui->edit_account->text().trimmed(),
                                    ui->edit_password->text());
    emit addDevice(device);
}

void ManualAssignWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
