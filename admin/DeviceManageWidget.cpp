#include "DeviceManageWidget.h"
#include "ui_DeviceManageWidget.h"

#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "DeviceController.h"
#include "DeviceListDelegate.h"
#include "DeviceLogWidget.h"
#include "DialogUtil.h"
#include "EmailSettingWidget.h"
#include "FaxHistoryWidget.h"
#include "FaxQueueWidget.h"
#include "FaxSettingWidget.h"
#include "FileUtil.h"
#include "FirmwareUpgradeWidget.h"
#include "HighOptionWidget.h"
#include "IniUtil.h"
#include "InputDeviceInfoDialog.h"
#include "LoginController.h"
#include "MGlobal.h"
#include "MessageBoxUtil.h"
#include "NetworkSettingWidget.h"
#include "TimeZoneWidget.h"
#include "UserAccountWidget.h"
#include "VersionStatusWidget.h"

#include <QCloseEvent>

namespace {

// Panels that keep a table of the device's faxes are emptied before they load again.
bool clearsFirst(int index)
{
    return index == DeviceManageWidget::PANEL_FAX_QUEUE || index == DeviceManageWidget::PANEL_FAX_HISTORY;
}

} // namespace

DeviceManageWidget::DeviceManageWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::DeviceManageWidget), m_controller(new DeviceController(this)),
      m_loginController(new LoginController(this))
{
    ui->setupUi(this);

    // The stack in the order of the buttons. Each panel takes the device through a
    // setDevice(Device&) slot and, for the two fax tables, empties itself by clearWidget().
    const QList<QWidget*> panels = {new VersionStatusWidget,  new EmailSettingWidget, new HighOptionWidget,
                                    new NetworkSettingWidget, new TimeZoneWidget,     new DeviceLogWidget,
                                    new UserAccountWidget,    new FaxSettingWidget,   new FaxQueueWidget,
                                    new FaxHistoryWidget,     new FirmwareUpgradeWidget};
    for (QWidget* page : panels)
        ui->stackedWidget->addWidget(page);

    m_buttons = {ui->button_version,      ui->button_email,         ui->button_high_option, ui->button_net_work,
                 ui->button_timezone,     ui->button_device_log,    ui->button_user_account, ui->button_fax_setting,
                 ui->button_fax_queue,    ui->button_fax_history,   ui->button_firmware_upgrade};
    for (int i = 0; i < m_buttons.size(); ++i)
        connect(m_buttons[i], &QPushButton::clicked, this, [this, i] { showPanel(i); });
    // Listening to a line is not offered yet.
    ui->button_voice_monitor->setEnabled(false);

    connect(m_controller, &DeviceController::returnHighOption, this, &DeviceManageWidget::showHighOption);
    connect(m_controller, &DeviceController::returnSetHighOptionResult, this,
            &DeviceManageWidget::showSetHighOptionResult);
    connect(m_controller, &DeviceController::busyChanged, ui->button_change_device_name, &QWidget::setDisabled);
    connect(m_loginController, &LoginController::bindDeviceSuccess, this,
            &DeviceManageWidget::changeDeviceAccountSuccess);
    connect(m_loginController, &LoginController::bindDeviceFail, this, &DeviceManageWidget::changeDeviceAccountFail);
}

DeviceManageWidget::~DeviceManageWidget()
{
    delete ui;
}

QWidget* DeviceManageWidget::panel(int index) const
{
    return ui->stackedWidget->widget(index);
}

void DeviceManageWidget::showIdentity()
{
    ui->label_server_name->setText(m_device.serverName);
    ui->label_product_id->setText(m_device.productID);
    ui->label_account->setText(tr("%1(%2) 分机号:%3")
                                   .arg(m_device.deviceName, DeviceListDelegate::roleText(m_device.permission),
                                        m_device.extNumber));
}

void DeviceManageWidget::setDevice(Device& device)
{
    m_device = device;
    m_newName.clear();
    showIdentity();
    showPanel(PANEL_VERSION);
}

void DeviceManageWidget::showPanel(int index)
{
    QWidget* page = panel(index);
    if (!page)
        return;
    const QMetaObject* meta = page->metaObject();
    if (clearsFirst(index) && meta->indexOfMethod("clearWidget()") >= 0)
        QMetaObject::invokeMethod(page, "clearWidget", Qt::DirectConnection);
    if (meta->indexOfMethod("setDevice(Device&)") >= 0)
        QMetaObject::invokeMethod(page, "setDevice", Qt::DirectConnection, Q_ARG(Device&, m_device));
    ui->stackedWidget->setCurrentIndex(index);
    m_buttons[index]->setChecked(true);
}

void DeviceManageWidget::on_pushButton_clicked()
{
    emit display(0);
}

void DeviceManageWidget::on_button_delete_device_clicked()
{
    if (MessageBoxUtil::question(this, QStringLiteral("Velkor"), tr("确定要删除此设备并清除此设备下的传真?"),
                                 QMessageBox::Warning)
        != QMessageBox::Yes)
        return;
    // Only the binding on this side ends; the device is not told.
    DatabaseManager db;
    if (!db.deleteDevice(m_device))
        return;
    emit display(0);
    emit deleteDeviceSuccess();
}

void DeviceManageWidget::on_button_change_account_clicked()
{
    if (!m_accountDialog) {
        m_accountDialog = new InputDeviceInfoDialog(this);
        m_accountDialog->setObjectName(QStringLiteral("InputDeviceInfoDialog"));
        connect(m_accountDialog, &InputDeviceInfoDialog::sendDeviceInfo, this, &DeviceManageWidget::changeDeviceAccount);
    }
    m_accountDialog->clear();
    m_accountDialog->open();
}

void DeviceManageWidget::changeDeviceAccount(QString account, QString password)
{
    Device device;
    device.deviceName = account;
    device.devicePassword = password;
    device.productID = m_device.productID;
    device.localIP = m_device.localIP;
    device.remoteIP = m_device.remoteIP;
    device.extNumber = m_device.extNumber;
    device.permission = m_device.permission;
    device.internetPort = m_device.internetPort;
    if (m_accountDialog)
        m_accountDialog->setBusy(true); // one bind at a time
    emit m_loginController->bindDevice(device, DeviceProtocol::PORT_BASE);
}

void DeviceManageWidget::changeDeviceAccountFail(QString& message)
{
    // The dialog stays open for another try.
    if (m_accountDialog)
        m_accountDialog->setBusy(false);
    MessageBoxUtil::warningMsg(this, QStringLiteral("Velkor"), message);
}

void DeviceManageWidget::changeDeviceAccountSuccess(Device& device)
{
    // Another account sees other faxes: this device's local ones would go. The account is
    // known to work by now, so only this question stands between the user and the change.
    if (device.deviceName != m_device.deviceName) {
        const int faxes = DatabaseManager().countDeviceFaxes(m_device);
        if (faxes > 0
            && MessageBoxUtil::question(this, QStringLiteral("Velkor"),
                                        tr("更改设备账号将删除本机保存的此设备的全部传真（共%1份，包括已删除的传真）。"
                                           "确定要更改吗？")
                                            .arg(faxes),
                                        QMessageBox::Warning)
                != QMessageBox::Yes) {
            if (m_accountDialog) {
                m_accountDialog->setBusy(false);
                m_accountDialog->close();
            }
            return;
        }
    }
    if (m_accountDialog) {
        m_accountDialog->setBusy(false);
        m_accountDialog->close();
    }
    device.id = m_device.id;
    device.taskID = QStringLiteral("0");
    DatabaseManager db;
    db.updateDeviceName(device);
    if (device.deviceName == m_device.deviceName) {
        // The same account with a new password: faxes and window stay as they are.
        m_device.devicePassword = device.devicePassword;
        m_device.extNumber = device.extNumber;
        m_device.permission = device.permission;
        showIdentity();
        return;
    }
    // Another account sees other faxes: this device's local faxes go, and the next poll
    // fetches the new account's from the start.
    db.nativeDeleteFax(device);
    db.updateDeviceMaxTaskID(device);
    emit reconnectDeviceSuccess(device);
}

void DeviceManageWidget::on_button_change_device_name_clicked()
{
    bool ok = false;
    const QString name = DialogUtil::getText(this, QStringLiteral("Velkor"), tr("设备名称"), QLineEdit::Normal,
                                             m_device.serverName, &ok);
    if (!ok || name.isEmpty())
        return;
    // The name lives in the device's configuration file: fetch it, change it, send it back.
    m_newName = name;
    emit m_controller->getHighOptionSetting(m_device);
}

void DeviceManageWidget::showHighOption(QString& text)
{
    if (m_newName.isEmpty())
        return;
    if (text.isEmpty()) {
        // Nothing came that could be changed; sending a file without it would lose the rest.
        m_newName.clear();
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("修改设备名称失败"));
        return;
    }
    const QString path = FileUtil::createDir(gUser.nickname + QLatin1Char('/') + m_device.productID)
        + QStringLiteral("/SvrAdvParam.cfg");
    // Sections another device's file left behind must not travel to this one.
    IniUtil::clear();
    IniUtil::openIni(path);
    IniUtil::setValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName"), m_newName);
    QString changed = IniUtil::writeIni(path);
    emit m_controller->setHighOption(m_device, changed);
}

void DeviceManageWidget::showSetHighOptionResult(bool ok)
{
    if (m_newName.isEmpty())
        return;
    const QString name = m_newName;
    m_newName.clear();
    if (!ok) {
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("修改设备名称失败"));
        return;
    }
    // Everything that shows the name reads the store or hears of the change.
    m_device.serverName = name;
    DatabaseManager().updateDevice(m_device);
    showIdentity();
    emit renameDeviceSuccess(m_device);
    MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("修改设备名称成功"));
}

void DeviceManageWidget::on_button_voice_monitor_clicked()
{
}

void DeviceManageWidget::closeEvent(QCloseEvent* event)
{
    if (QWidget* version = panel(PANEL_VERSION))
        version->close();
    QWidget::closeEvent(event);
}

void DeviceManageWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        showIdentity();
    }
    QWidget::changeEvent(event);
}
