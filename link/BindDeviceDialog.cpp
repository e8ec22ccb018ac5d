#include "BindDeviceDialog.h"
#include "ui_BindDeviceDialog.h"

#include "AppSettings.h"
#include "AutoSearchWidget.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "LogUtil.h"
#include "LoginController.h"
#include "ManualAssignWidget.h"
#include "MessageBoxUtil.h"

#include <QCloseEvent>
#include <QUdpSocket>

BindDeviceDialog::BindDeviceDialog(QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::BindDeviceDialog)
    , m_socket(new QUdpSocket(this))
    , m_controller(new LoginController(this))
{
    ui->setupUi(this);
    setFixedSize(size());
    m_search = new AutoSearchWidget(m_socket, this);
    m_assign = new ManualAssignWidget(this);
    ui->stackedWidget->addWidget(m_search);
    ui->stackedWidget->addWidget(m_assign);
    ui->stackedWidget->setCurrentIndex(0);

    connect(m_search, &AutoSearchWidget::addDevice, this, &BindDeviceDialog::connectDevice);
    connect(m_assign, &ManualAssignWidget::addDevice, this, &BindDeviceDialog::connectDevice);
    connect(m_controller, &LoginController::bindDeviceSuccess, this, &BindDeviceDialog::bindDeviceSuccess);
    connect(m_controller, &LoginController::bindDeviceFail, this, &BindDeviceDialog::bindDeviceFail);
    connect(ui->button_options, &QPushButton::clicked, this, &BindDeviceDialog::openOptions);
    showAddressServiceNotice();
}

BindDeviceDialog::~BindDeviceDialog()
{
    delete ui;
}

void BindDeviceDialog::on_button_search_clicked()
{
    ui->button_search->setChecked(true);
    ui->stackedWidget->setCurrentIndex(0);
}

void BindDeviceDialog::on_button_assign_clicked()
{
    ui->button_assign->setChecked(true);
    ui->stackedWidget->setCurrentIndex(1);
}

bool BindDeviceDialog::alreadyBound(const QString& productID)
{
    if (productID.isEmpty())
        return false;
    for (const Device& known : DatabaseManager().queryDevices())
        if (known.productID.compare(productID, Qt::CaseInsensitive) == 0) {
            MessageBoxUtil::warningMsg(this, QStringLiteral("Velkor"), tr("该设备已添加"));
            return true;
        }
    return false;
}

void BindDeviceDialog::setBinding(bool binding)
{
    m_assign->setBusy(binding);
    m_search->setBusy(binding);
}

void BindDeviceDialog::connectDevice(Device& device)
{
    if (alreadyBound(device.productID))
        return;
    setBinding(true);
    emit m_controller->bindDevice(device, DeviceProtocol::PORT_COMMAND);
}

void BindDeviceDialog::bindDeviceSuccess(Device& device)
{
    LogUtil::d(QStringLiteral("localIP:%1 , remoteIP:%2 , productID:%3 , devicename:%4 ")
                   .arg(device.localIP, device.remoteIP, device.productID, device.deviceName));
    setBinding(false);
    // Bound by address, the device's identity is known only now.
    if (alreadyBound(device.productID))
        return;
    DatabaseManager db;
    db.inseretDevice(device);
    Device stored = db.queryDevice(device.productID);
    stored.internetPort = device.internetPort;
    stored.connectStatus = device.connectStatus;
    emit connectDeviceSuccess(stored);
    m_search->closeInputDialog();
    MessageBoxUtil::infoMsg(this, QStringLiteral("Velkor"),
                            tr("设备 %1（%2）添加成功，正在接收它的传真。").arg(stored.serverName, stored.productID));
    close();
}

void BindDeviceDialog::bindDeviceFail(QString& message)
{
    setBinding(false);
    MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), message);
}

void BindDeviceDialog::closeEvent(QCloseEvent* event)
{
    // Leave port 5077 to the background task.
    m_socket->close();
    QDialog::closeEvent(event);
}

void BindDeviceDialog::showAddressServiceNotice()
{
    const QString url = AppSettings::userConfig()->value(AppSettings::KEY_ADDRESS_SERVICE_URL).toString().trimmed();
    ui->widget_no_address_service->setVisible(url.isEmpty());
}

void BindDeviceDialog::showEvent(QShowEvent* event)
{
    showAddressServiceNotice();
    QDialog::showEvent(event);
}

void BindDeviceDialog::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    // Back from "程序选项", the service may be set now.
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        showAddressServiceNotice();
    QDialog::changeEvent(event);
}
