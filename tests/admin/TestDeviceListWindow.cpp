#include "AdminTestSim.h"
#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "DeviceListDelegate.h"
#include "DeviceListWidget.h"
#include "DeviceListWindow.h"
#include "DeviceManageWidget.h"
#include "DeviceProtocol.h"
#include "DialogUtil.h"
#include "InputDeviceInfoDialog.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QStackedWidget>
#include <QStandardItemModel>

using namespace AdminTestSim;
using TestSupport::find;

namespace {

Device bind(Device device)
{
    DatabaseManager db;
    db.inseretDevice(device);
    return db.queryDevice(device.productID);
}

void addFaxes(const Device& device, int count)
{
    DatabaseManager db;
    for (int i = 0; i < count; ++i) {
        Fax fax;
        fax.time = QStringLiteral("2024-03-01 10:00:0%1").arg(i);
        fax.serverID = device.productID;
        db.insertFax(fax, device.id);
    }
}

int faxCount(const Device& device)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT COUNT(*) FROM FAXES WHERE device_id = ?"));
    q.addBindValue(device.id);
    return q.exec() && q.next() ? q.value(0).toInt() : -1;
}

QString stored(const Device& device, const QString& column)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT %1 FROM DEVICES WHERE id = ?").arg(column));
    q.addBindValue(device.id);
    return q.exec() && q.next() ? q.value(0).toString() : QString();
}

// Opens the page of the list's row like a click does.
DeviceManageWidget* openRow(DeviceListWindow& window, int row)
{
    auto* view = find<QListView>(&window, "listView");
    emit view->clicked(view->model()->index(row, 0));
    return window.manageWidget();
}

} // namespace

// The device list, the row painting texts, and the management page: panels, deletion, change
// of account and rename.
class TestDeviceListWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;

private slots:
    void initTestCase()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.0.75"));
        s.users << SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pw"), 12, QStringLiteral("802"));
        m_sim = start(s);
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(1);
        m_sim->device()->clearFaults();
    }

    void cleanupTestCase() { m_sim.reset(); }

    void rowsShowRoleAndAddress()
    {
        QCOMPARE(DeviceListDelegate::roleText(1), QStringLiteral("管理员"));
        QCOMPARE(DeviceListDelegate::roleText(2), QStringLiteral("分发员"));
        QCOMPARE(DeviceListDelegate::roleText(3), QStringLiteral("管理员"));
        QCOMPARE(DeviceListDelegate::roleText(4), QStringLiteral("普通用户"));

        Device remote = deviceOf(scenarioAt(QStringLiteral("127.0.0.76")), QStringLiteral("clerk"));
        remote.localIP.clear();
        remote.remoteIP = QStringLiteral("203.0.113.9");
        remote.permission = 2;
        bind(remote);
        Device local = deviceOf(m_sim->sim()->scenario());
        local.remoteIP = QStringLiteral("203.0.113.10");
        bind(local);

        DeviceListWindow window;
        QCOMPARE(window.windowTitle(), QStringLiteral("我的设备"));
        auto* model = window.listWidget()->model();
        QCOMPARE(model->rowCount(), 2);
        const Device first = model->item(0)->data(Qt::UserRole + 1).value<Device>();
        QCOMPARE(DeviceListDelegate::rowTexts(first),
                 (QStringList{remote.serverName, remote.productID, "203.0.113.9", "clerk(分发员)"}));
        const Device second = model->item(1)->data(Qt::UserRole + 1).value<Device>();
        QCOMPARE(DeviceListDelegate::rowTexts(second).at(2), QStringLiteral("127.0.0.75"));

        // The delegate paints a row of 80 pixels without complaint.
        window.resize(600, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto* view = find<QListView>(&window, "listView");
        QCOMPARE(view->visualRect(model->index(0, 0)).height(), 80);
        QVERIFY(!view->grab().isNull());
    }

    void pageShowsTheDeviceAndItsPanels()
    {
        Device device = bind(deviceOf(m_sim->sim()->scenario()));
        device.extNumber = QStringLiteral("800");
        device.permission = 1;
        DatabaseManager().updateDeviceName(device);
        DeviceListWindow window;
        auto* stack = find<QStackedWidget>(&window, "stackedWidget");
        DeviceManageWidget* page = openRow(window, 0);
        QCOMPARE(stack->currentIndex(), 1);
        QCOMPARE(find<QLabel>(page, "label_account")->text(), QStringLiteral("admin(管理员) 分机号:800"));
        QCOMPARE(find<QLabel>(page, "label_product_id")->text(), QStringLiteral("5A3C0075"));
        // Each panel's button and what it asks the device: TestStatusPanels.
        QVERIFY(!find<QPushButton>(page, "button_voice_monitor")->isEnabled());
        QTest::mouseClick(find<QPushButton>(page, "pushButton"), Qt::LeftButton);
        QCOMPARE(stack->currentIndex(), 0);
    }

    void deleteRemovesDeviceAndFaxesAtOnce()
    {
        Device keep = bind(deviceOf(scenarioAt(QStringLiteral("127.0.0.77"))));
        Device gone = bind(deviceOf(m_sim->sim()->scenario()));
        addFaxes(keep, 2);
        addFaxes(gone, 3);
        DeviceListWindow window;
        auto* model = window.listWidget()->model();
        DeviceManageWidget* page = openRow(window, 1);
        QCOMPARE(page->device().id, gone.id);

        MessageBoxUtil::setNextAnswer(QMessageBox::No);
        QTest::mouseClick(find<QPushButton>(page, "button_delete_device"), Qt::LeftButton);
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(faxCount(gone), 3);

        int rowsWhenTold = -1;
        connect(&window, &DeviceListWindow::deleteDeviceSuccess, this, [&] { rowsWhenTold = model->rowCount(); });
        MessageBoxUtil::clear();
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        QTest::mouseClick(find<QPushButton>(page, "button_delete_device"), Qt::LeftButton);
        const MessageBoxUtil::Shown question = MessageBoxUtil::takeShown().first();
        QCOMPARE(question.title, QStringLiteral("Velkor"));
        QCOMPARE(question.text, QStringLiteral("确定要删除此设备并清除此设备下的传真?"));
        QCOMPARE(rowsWhenTold, 1); // the list was right before the window told anyone
        QCOMPARE(find<QStackedWidget>(&window, "stackedWidget")->currentIndex(), 0);
        QCOMPARE(faxCount(gone), 0);
        QCOMPARE(faxCount(keep), 2);
        QCOMPARE(DatabaseManager().queryDevices().size(), 1);
        // Nothing was said to the device.
        QVERIFY(m_sim->device()->users().size() == 2);
    }

    void changeToAnotherAccountReconnects()
    {
        Device device = bind(deviceOf(m_sim->sim()->scenario()));
        addFaxes(device, 2);
        DeviceListWindow window;
        window.show();
        QSignalSpy reconnect(&window, &DeviceListWindow::reconnectDeviceSuccess);
        DeviceManageWidget* page = openRow(window, 0);
        const int baseLogins = countInLog(*m_sim, "3001 ");

        QTest::mouseClick(find<QPushButton>(page, "button_change_account"), Qt::LeftButton);
        auto* dialog = page->findChild<InputDeviceInfoDialog*>();
        QVERIFY(dialog && dialog->isVisible());
        find<QLineEdit>(dialog, "edit_account")->setText(QStringLiteral("clerk"));
        find<QLineEdit>(dialog, "edit_password")->setText(QStringLiteral("wrong"));
        find<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        QCOMPARE(MessageBoxUtil::takeShown().first().text, QStringLiteral("设备使用权限验证失败"));
        QVERIFY(dialog->isVisible()); // another try
        QCOMPARE(reconnect.count(), 0);

        find<QLineEdit>(dialog, "edit_password")->setText(QStringLiteral("pw"));
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes); // the local faxes may go
        find<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
        QTRY_COMPARE_WITH_TIMEOUT(reconnect.count(), 1, 20000);
        QVERIFY(countInLog(*m_sim, "3001 ") > baseLogins); // the rebind went to the base port
        const Device changed = reconnect.at(0).at(0).value<Device>();
        QCOMPARE(changed.id, device.id);
        QCOMPARE(changed.deviceName, QStringLiteral("clerk"));
        QCOMPARE(changed.taskID, QStringLiteral("0"));
        QCOMPARE(stored(device, "deviceName"), QStringLiteral("clerk"));
        QCOMPARE(stored(device, "devicePassword"), MD5Util::call128MD5(QByteArray("pw")));
        QCOMPARE(stored(device, "extNumber"), QStringLiteral("802"));
        QCOMPARE(stored(device, "permission"), QStringLiteral("12"));
        QCOMPARE(faxCount(device), 0);
        QVERIFY(!dialog->isVisible());
        QVERIFY(!window.isVisible());
    }

    void changeToTheSameAccountKeepsFaxes()
    {
        Device old = deviceOf(m_sim->sim()->scenario(), QStringLiteral("admin"), QStringLiteral("old password"));
        Device device = bind(old);
        addFaxes(device, 2);
        DeviceListWindow window;
        window.show();
        QSignalSpy reconnect(&window, &DeviceListWindow::reconnectDeviceSuccess);
        DeviceManageWidget* page = openRow(window, 0);
        QTest::mouseClick(find<QPushButton>(page, "button_change_account"), Qt::LeftButton);
        auto* dialog = page->findChild<InputDeviceInfoDialog*>();
        find<QLineEdit>(dialog, "edit_account")->setText(QStringLiteral("admin"));
        find<QLineEdit>(dialog, "edit_password")->setText(QStringLiteral("admin"));
        find<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
        QTRY_COMPARE_WITH_TIMEOUT(stored(device, "devicePassword"), MD5Util::call128MD5(QByteArray("admin")), 20000);
        QTRY_VERIFY(!dialog->isVisible());
        QTest::qWait(100);
        QCOMPARE(reconnect.count(), 0);
        QCOMPARE(faxCount(device), 2);
        QVERIFY(window.isVisible());
        QCOMPARE(page->device().devicePassword, MD5Util::call128MD5(QByteArray("admin")));
    }

    void renameGoesThroughTheConfigurationFile()
    {
        Device device = bind(deviceOf(m_sim->sim()->scenario()));
        DeviceListWindow window;
        DeviceManageWidget* page = openRow(window, 0);
        auto* button = find<QPushButton>(page, "button_change_device_name");

        DialogUtil::queueAnswer(QStringLiteral("财务部传真"));
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(!button->isEnabled()); // busy while the file goes down and up
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        MessageBoxUtil::Shown box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("info"));
        QCOMPARE(box.title, QStringLiteral("Velkor消息"));
        QCOMPARE(box.text, QStringLiteral("修改设备名称成功"));
        QCOMPARE(m_sim->device()->serverName(), QStringLiteral("财务部传真"));
        const QString config = m_sim->device()->configText();
        QVERIFY(config.startsWith(QStringLiteral("\n[")));
        QVERIFY(config.contains(QStringLiteral("[FAXOPTIONS]\nServerName=财务部传真\n")));
        QVERIFY(config.contains(QStringLiteral("[STORAGE]\nPath=$STG_DIR$\n")));
        QVERIFY(!config.contains(QLatin1Char('\r')));
        QCOMPARE(stored(device, "serverName"), QStringLiteral("财务部传真"));
        QTRY_VERIFY(button->isEnabled());

        // Cancelled: nothing is asked.
        const int downloads = countInLog(*m_sim, "DOWN_FILE");
        DialogUtil::queueCancel();
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::qWait(100);
        QCOMPARE(countInLog(*m_sim, "DOWN_FILE"), downloads);

        // The upload fails.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_sim->device()->addFault(SimFault::make("UP_FILE", SimFault::Silent));
        DialogUtil::queueAnswer(QStringLiteral("别的名字"));
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.text, QStringLiteral("修改设备名称失败"));
        QCOMPARE(m_sim->device()->serverName(), QStringLiteral("财务部传真"));
    }
};

VELKOR_TEST_MAIN(TestDeviceListWindow)
#include "TestDeviceListWindow.moc"
