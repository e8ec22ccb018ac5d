#include "VoiceMonitorDialog.h"
#include "ui_VoiceMonitorDialog.h"

#include "DeviceController.h"

#include <QByteArray>
#include <QIODevice>
#include <QUdpSocket>

VoiceMonitorDialog::VoiceMonitorDialog(Device& device, QWidget* parent)
    : QDialog(parent), ui(new Ui::VoiceMonitorDialog), m_device(device), m_controller(new DeviceController(this)),
      m_udpSocket(new QUdpSocket(this))
{
    ui->setupUi(this);
    connect(m_udpSocket, &QUdpSocket::readyRead, this, &VoiceMonitorDialog::readPendingDatagrams);
    connect(m_controller, &DeviceController::returnVoiceListenResult, this, &VoiceMonitorDialog::startVoiceListen);
}

VoiceMonitorDialog::~VoiceMonitorDialog()
{
    delete ui;
}

void VoiceMonitorDialog::on_button_listen_clicked()
{
    // Not switched on: the ports to ask for and the binding of the UDP socket are not settled.
}

void VoiceMonitorDialog::startVoiceListen()
{
}

void VoiceMonitorDialog::readPendingDatagrams()
{
    while (m_udpSocket->hasPendingDatagrams()) {
        QByteArray datagram(int(qMax<qint64>(0, m_udpSocket->pendingDatagramSize())), Qt::Uninitialized);
        const qint64 size = m_udpSocket->readDatagram(datagram.data(), datagram.size());
        if (size > 0 && m_output)
            m_output->write(datagram.constData(), size);
    }
}
