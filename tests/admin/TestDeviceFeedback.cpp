#include "AutoOutputDialog.h"
#include "DatabaseManager.h"
#include "DeviceListWidget.h"
#include "DeviceListWindow.h"
#include "DeviceManageWidget.h"
#include "DeviceProtocol.h"
#include "DialogUtil.h"
#include "FaxDistributeDialog.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"
#include "UserAccountWidget.h"

#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStandardItemModel>

using TestSupport::find;

// What the device pages say and show after a change. Nothing listens at the device's address.
class TestDeviceFeedback : public QObject
{
    Q_OBJECT

    Device m_device;

    static int faxCount()
    {
        return DatabaseManager().queryReceiveFaxes().size() + DatabaseManager().queryDeleteFaxes().size();
    }

private slots:
    void initTestCase() { DeviceProtocol::setTestTimeoutDivisor(20); }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        Device device;
        device.deviceName = QStringLiteral("admin");
        device.productID = QStringLiteral("5A3C0601");
        device.serverName = QStringLiteral("前台");
        device.localIP = QStringLiteral("127.0.6.1");
        DatabaseManager db;
        db.inseretDevice(device);
        m_device = db.queryDevice(device.productID);
        for (int i = 0; i < 3; ++i) {
            Fax fax;
            fax.time = QStringLiteral("2024-03-01 10:00:0%1").arg(i);
            fax.serverID = m_device.productID;
            fax.isDelete = i == 2 ? 1 : 0;
            db.insertFax(fax, m_device.id);
        }
    }

    // Another account would take the device's local faxes with it: the user hears how many
    // and may keep them.
    void changingTheAccountAsksFirst()
    {
        DeviceManageWidget page;
        page.setDevice(m_device);
        Device same = m_device;
        page.changeDeviceAccountSuccess(same);
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());

        Device other = m_device;
        other.deviceName = QStringLiteral("clerk");
        page.changeDeviceAccountSuccess(other);
        const QList<MessageBoxUtil::Shown> shown = MessageBoxUtil::takeShown();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown.first().kind, QStringLiteral("question"));
        QVERIFY(shown.first().text.contains(QStringLiteral("3")));
        QCOMPARE(faxCount(), 3);
        QCOMPARE(DatabaseManager().queryDevice(m_device.productID).deviceName, QStringLiteral("admin"));
    }

    void renameShowsTheNewNameEverywhere()
    {
        DeviceListWindow window;
        window.showSelectedDevice(1, m_device);
        DeviceManageWidget* page = window.manageWidget();
        DialogUtil::queueAnswer(QStringLiteral("财务部"));
        find<QPushButton>(page, "button_change_device_name")->click();
        page->showSetHighOptionResult(true); // the device took the new file

        QCOMPARE(DatabaseManager().queryDevice(m_device.productID).serverName, QStringLiteral("财务部"));
        QCOMPARE(find<QLabel>(page, "label_server_name")->text(), QStringLiteral("财务部"));
        const Device listed = window.listWidget()->model()->item(0)->data(Qt::UserRole + 1).value<Device>();
        QCOMPARE(listed.serverName, QStringLiteral("财务部"));
    }

    void actionsSayWhatHappened()
    {
        UserAccountWidget users;
        find<QPushButton>(&users, "button_addUser")->click();
        find<QLineEdit>(&users, "edit_username")->setText(QStringLiteral("li"));
        QString ok = QStringLiteral("OK");
        users.modifyUserResult(ok);
        QCOMPARE(MessageBoxUtil::takeShown().value(0).text, QStringLiteral("添加成功"));

        AutoOutputDialog output;
        find<QPushButton>(&output, "button_apply")->click();
        QCOMPARE(MessageBoxUtil::takeShown().value(0).kind, QStringLiteral("info"));

        QString task = QStringLiteral("7");
        QPointer<FaxDistributeDialog> distribute = new FaxDistributeDialog(m_device, task);
        auto* send = find<QPushButton>(distribute, "button_ok");
        QTRY_VERIFY(send->isEnabled());
        send->click();
        QTRY_VERIFY(distribute.isNull());
        QCOMPARE(MessageBoxUtil::takeShown().value(0).kind, QStringLiteral("warning"));
    }
};

VELKOR_TEST_MAIN(TestDeviceFeedback)
#include "TestDeviceFeedback.moc"
