#include "AutoSearchWidget.h"
#include "ui_AutoSearchWidget.h"

#include "DeviceDiscovery.h"
#include "DeviceItemDelegate.h"
#include "InputDeviceInfoDialog.h"
#include "NetworkUtil.h"

#include <QEvent>
#include <QNetworkDatagram>
#include <QStandardItemModel>
#include <QTimer>
#include <QUdpSocket>

AutoSearchWidget::AutoSearchWidget(QUdpSocket* socket, QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::AutoSearchWidget)
    , m_model(new QStandardItemModel(this))
    , m_delegate(new DeviceItemDelegate(this))
    , m_timer(new QTimer(this))
    , m_socket(socket)
    , m_inputDialog(new InputDeviceInfoDialog(this))
{
    ui->setupUi(this);
    ui->listView->setModel(m_model);
    ui->listView->setItemDelegate(m_delegate);
    connect(m_delegate, &DeviceItemDelegate::buttonClicked, this, &AutoSearchWidget::listButtonClicked);
    connect(m_inputDialog, &InputDeviceInfoDialog::sendDeviceInfo, this, &AutoSearchWidget::receiveDeviceInfo);

    DeviceDiscovery::bindReplyPort(m_socket);
    connect(m_socket, &QUdpSocket::readyRead, this, &AutoSearchWidget::readPendingDatagrams);
    connect(m_timer, &QTimer::timeout, this, &AutoSearchWidget::sendBroadCastMsg);
    m_timer->start(DeviceDiscovery::INTERVAL_MS);
}

AutoSearchWidget::~AutoSearchWidget()
{
    delete ui;
}

void AutoSearchWidget::sendBroadCastMsg()
{
    DeviceDiscovery::sendQuery(m_socket);
}

void AutoSearchWidget::readPendingDatagrams()
{
    while (m_socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram();
        Device device = DeviceDiscovery::parseReply(datagram.data(), datagram.senderAddress());
        const std::string key = device.productID.toUtf8().toStdString();
        if (m_devices.count(key))
            continue;
        m_devices[key] = device;
        auto* item = new QStandardItem;
        item->setData(QVariant::fromValue(device), Qt::UserRole + 1);
        item->setEditable(false);
        m_model->appendRow(item);
    }
}

void AutoSearchWidget::listButtonClicked(const QModelIndex index)
{
    const Device device = index.data(Qt::UserRole + 1).value<Device>();
    m_picked = qMakePair(device.localIP, device.productID);
    m_inputDialog->clear();
    m_inputDialog->show();
}

void AutoSearchWidget::receiveDeviceInfo(QString account, QString password)
{
    int port = 3001;
    QString name;
    NetworkUtil::splitPort(account, name, port);
    Device device;
    device.deviceName = name;
    device.devicePassword = password;
    device.localIP = m_picked.first;
    device.productID = m_picked.second;
    device.internetPort = port;
    emit addDevice(device);
}

void AutoSearchWidget::closeInputDialog()
{
    m_inputDialog->close();
}

void AutoSearchWidget::setBusy(bool busy)
{
    m_inputDialog->setBusy(busy);
}

void AutoSearchWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}
