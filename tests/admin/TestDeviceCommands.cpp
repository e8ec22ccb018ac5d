#include "AdminTestSim.h"
#include "DeviceController.h"
#include "DeviceProtocol.h"
#include "MD5Util.h"
#include "StringUtil.h"
#include "TestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSignalSpy>

using namespace AdminTestSim;

// Every administration command against the device stand-in: the request text as the device
// receives it, and what each kind of reply turns into.
class TestDeviceCommands : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Device m_device;
    DeviceController* m_controller = nullptr;
    QSignalSpy* m_done = nullptr;

    // Waits for the command just requested to finish.
    bool finished() { return m_done->wait(20000); }

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        Scenario s = scenarioAt(QStringLiteral("127.0.0.70"));
        s.users << SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pw"), 12, QStringLiteral("801"));
        for (int i = 0; i < 40; ++i) // a list long enough to come in pieces
            s.users << SimUser::withPassword(QStringLiteral("user%1").arg(i), QStringLiteral("pw"), 12);
        SimSentRecord waiting;
        waiting.task = 501;
        waiting.status = 5;
        waiting.number = QStringLiteral("01066668888");
        waiting.sender = QStringLiteral("admin");
        SimSentRecord sent;
        sent.task = 502;
        sent.status = 2;
        sent.number = QStringLiteral("02177776666");
        sent.sender = QStringLiteral("admin");
        sent.timeUtc = QDateTime::currentDateTimeUtc().addSecs(-3600);
        s.history << waiting << sent;
        m_sim = start(s);
        m_device = deviceOf(s);
    }

    void init()
    {
        DeviceProtocol::setTestTimeoutDivisor(1);
        m_sim->device()->clearFaults();
        m_controller = new DeviceController;
        m_done = new QSignalSpy(m_controller, &DeviceController::commandFinished);
    }

    void cleanup()
    {
        delete m_done;
        delete m_controller;
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void cleanupTestCase() { m_sim.reset(); }

    // What each read brings is shown by the panels' own tests; here: commands queued behind
    // each other make one busy run, and a read hands the whole reply on.
    void queuedCommandsAreOneBusyRun()
    {
        QSignalSpy user(m_controller, &DeviceController::returnUserInfo);
        QSignalSpy busy(m_controller, &DeviceController::busyChanged);
        QString name = QStringLiteral("clerk");
        emit m_controller->getServerInfomation(m_device);
        emit m_controller->getTimeSetting(m_device);
        emit m_controller->getUserInfo(m_device, name);
        QVERIFY(m_controller->isBusy());
        QTRY_COMPARE_WITH_TIMEOUT(m_done->count(), 3, 30000);
        QVERIFY(!m_controller->isBusy());
        QCOMPARE(busy.count(), 2);
        QCOMPARE(busy.at(0).at(0).toBool(), true);
        QCOMPARE(busy.at(1).at(0).toBool(), false);
        QCOMPARE(lastRequest(*m_sim, "GET_USER_INFO"), QStringLiteral("<ACTION>GET_USER_INFO</ACTION><USER_NAME>clerk</USER_NAME>"));
        QCOMPARE(StringUtil::getValue(user.at(0).at(0).toString(), "EXT_NUM"), QStringLiteral("801"));
    }

    void settingsGoOutVerbatimAndReportFeedback()
    {
        QSignalSpy result(m_controller, &DeviceController::returnSettingResult);
        // Values are not escaped: a tag, a "%1" and a "<" travel as they are.
        QString server = QStringLiteral("smtp.%1.example");
        QString user = QStringLiteral("a<b>");
        QString from = QStringLiteral("fax@example.com");
        QString pwd = QStringLiteral("p%2w");
        emit m_controller->setEmailSetting(m_device, server, user, from, pwd);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_sim, "SET_PUB_SMTP_SETTING"),
                 QStringLiteral("<ACTION>SET_PUB_SMTP_SETTING</ACTION><SMTP_ADDR>smtp.%1.example</SMTP_ADDR>"
                                "<SMTP_USER>a<b></SMTP_USER><EMAIL_ADDR_FROM>fax@example.com</EMAIL_ADDR_FROM>"
                                "<SMTP_PWD>p%2w</SMTP_PWD>"));
        QCOMPARE(result.takeFirst().at(0).toString(), QStringLiteral("OK"));
        // The panels' own tests check the network and time requests and a refusal end to end.
    }

    void faxSettingGoesInTheDevicesOrder()
    {
        QSignalSpy result(m_controller, &DeviceController::returnSettingResult);
        QString tagFormat = "%D %T", company = "ACME", faxNum = "010-1", csid = "ACME-1", localCode = "010",
                ipPrf = "17951", outPrf = "9", inPrf = "8", mrecv = "#*", line = "1", ecm = "2", priority = "-1",
                rings = "4";
        emit m_controller->setFaxSetting(m_device, tagFormat, company, faxNum, csid, localCode, ipPrf, outPrf, inPrf,
                                         mrecv, line, true, false, true, false, true, false, true, 11, 6, ecm, priority,
                                         rings);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_sim, "SET_FAX_SETTING"),
                 QStringLiteral("<ACTION>SET_FAX_SETTING</ACTION><TAG_FORMAT>%D %T</TAG_FORMAT><COMPANY>ACME</COMPANY>"
                                "<FAX_NUM>010-1</FAX_NUM><CSID>ACME-1</CSID><ECM>2</ECM><MAX_SPEED>11</MAX_SPEED>"
                                "<RECV_SPEED>6</RECV_SPEED><RINGCNT>4</RINGCNT><LOCAL_CODE>010</LOCAL_CODE>"
                                "<IP_PRF>17951</IP_PRF><OUT_PRF>9</OUT_PRF><IN_PRF>8</IN_PRF><AUTO_RECV>false</AUTO_RECV>"
                                "<MUST_DIV>true</MUST_DIV><DIS_BEEP>false</DIS_BEEP><RST_LINE>true</RST_LINE>"
                                "<DIVERR_RECV>true</DIVERR_RECV><DIS_SEND_VOICE>false</DIS_SEND_VOICE>"
                                "<DIS_WELCOME>true</DIS_WELCOME><SEND_PRIORITY>-1</SEND_PRIORITY>"
                                "<MRECV_CODE>#*</MRECV_CODE><LINE_NUM>1</LINE_NUM>"));
        QCOMPARE(result.takeFirst().at(0).toString(), QStringLiteral("OK"));
        QCOMPARE(m_sim->device()->lineSettings(1).value("SEND_PRIORITY"), QStringLiteral("-1"));

        line = QStringLiteral("2"); // the device has one line only
        emit m_controller->setFaxSetting(m_device, tagFormat, company, faxNum, csid, localCode, ipPrf, outPrf, inPrf,
                                         mrecv, line, true, false, true, false, true, false, true, 11, 6, ecm, priority,
                                         rings);
        QVERIFY(finished());
        QCOMPARE(result.takeFirst().at(0).toString(), QStringLiteral("LINE_NOT_EXIST"));
    }

    void failedLoginGivesNoResult()
    {
        m_sim->device()->addFault(SimFault::make("LOGIN", SimFault::RefuseLogin));
        QSignalSpy result(m_controller, &DeviceController::returnSettingResult);
        QString s = "x", line = "1";
        emit m_controller->setFaxSetting(m_device, s, s, s, s, s, s, s, s, s, line, false, false, false, false, false,
                                         false, false, 0, 0, s, s, s);
        QVERIFY(finished());
        QCOMPARE(result.count(), 0);
        QVERIFY(!m_controller->isBusy());
    }

    void userListIsJoinedFromPieces()
    {
        m_sim->device()->addFault(SimFault::make("GET_USER_LIST", SimFault::Split, 4, 200));
        QSignalSpy list(m_controller, &DeviceController::returnUserList);
        emit m_controller->getUserList(m_device);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_sim, "GET_USER_LIST"), QStringLiteral("<ACTION>GET_USER_LIST</ACTION>"));
        const QStringList names = list.at(0).at(0).toString().split(',');
        QCOMPARE(names.size(), 42);
        QCOMPARE(names.first(), QStringLiteral("admin"));
        QCOMPARE(names.last(), QStringLiteral("user39"));
    }

    void userListPieceTooLateEndsTheRead()
    {
        // The second piece comes after a whole reply wait: the read ends with what it has.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_sim->device()->addFault(SimFault::make("GET_USER_LIST", SimFault::Split, 2, 2500));
        QSignalSpy list(m_controller, &DeviceController::returnUserList);
        QElapsedTimer clock;
        clock.start();
        emit m_controller->getUserList(m_device);
        QVERIFY(finished());
        QVERIFY2(clock.elapsed() < 2500, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(list.count(), 1);
        QVERIFY(list.at(0).at(0).toString().isEmpty()); // the list's close mark never came
    }

    void addAndModifyUser()
    {
        QSignalSpy result(m_controller, &DeviceController::returnModifyUserResult);
        QString name = "typist", pwd = "******", ext = "805", permission = "12", emailOpt = "5",
                smtpAddr = "smtp.x", smtpUser = "u", smtpPwd = "******", from = "f@x", to = "t@x", action = "ADD_USER";
        emit m_controller->setUserInfo(m_device, name, pwd, ext, permission, emailOpt, smtpAddr, smtpUser, smtpPwd,
                                       from, to, action);
        QVERIFY(finished());
        // Adding sends the digest even of "******"; SMTP_PWD goes as typed.
        const QString digest = MD5Util::call128MD5(QByteArray("******"));
        QCOMPARE(lastRequest(*m_sim, "ADD_USER"),
                 QStringLiteral("<ACTION>ADD_USER</ACTION><USER_NAME>typist</USER_NAME><USER_PWD>") + digest
                     + QStringLiteral("</USER_PWD><EXT_NUM>805</EXT_NUM><PERMISSION>12</PERMISSION><EMAIL_OPT>5</EMAIL_OPT>"
                                      "<SMTP_ADDR>smtp.x</SMTP_ADDR><SMTP_USER>u</SMTP_USER><SMTP_PWD>******</SMTP_PWD>"
                                      "<EMAIL_FROM>f@x</EMAIL_FROM><EMAIL_TO>t@x</EMAIL_TO>"));
        QCOMPARE(result.takeFirst().at(0).toString(), QStringLiteral("OK"));
        SimUser stored;
        QVERIFY(m_sim->device()->user("typist", &stored));
        QCOMPARE(stored.storedPassword, digest);

        action = "MODIFY_USER";
        ext = "806";
        emit m_controller->setUserInfo(m_device, name, pwd, ext, permission, emailOpt, smtpAddr, smtpUser, smtpPwd,
                                       from, to, action);
        QVERIFY(finished());
        QVERIFY(lastRequest(*m_sim, "MODIFY_USER")
                    .startsWith(QStringLiteral("<ACTION>MODIFY_USER</ACTION><USER_NAME>typist</USER_NAME><EXT_NUM>806</EXT_NUM>")));
        QCOMPARE(result.takeFirst().at(0).toString(), QStringLiteral("OK"));
        QVERIFY(m_sim->device()->user("typist", &stored));
        QCOMPARE(stored.storedPassword, digest); // kept
        QCOMPARE(stored.fields.value("EXT_NUM"), QStringLiteral("806"));

        pwd = "new";
        emit m_controller->setUserInfo(m_device, name, pwd, ext, permission, emailOpt, smtpAddr, smtpUser, smtpPwd,
                                       from, to, action);
        QVERIFY(finished());
        QVERIFY(m_sim->device()->user("typist", &stored));
        QCOMPARE(stored.storedPassword, MD5Util::call128MD5(QByteArray("new")));
        QCOMPARE(result.takeFirst().at(0).toString(), QStringLiteral("OK"));
    }

    void pauseSignalsOnlyOnPauseOk()
    {
        QSignalSpy paused(m_controller, &DeviceController::returnSendFaxPause);
        QString task = "501";
        emit m_controller->sendFaxPause(m_device, task);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_sim, "SEND_FAX_PAUSE"), QStringLiteral("<ACTION>SEND_FAX_PAUSE</ACTION><TASKID>501</TASKID>"));
        QCOMPARE(paused.count(), 1);
        task = "999";
        emit m_controller->sendFaxPause(m_device, task);
        QVERIFY(finished());
        QCOMPARE(paused.count(), 1);
    }

    void deleteFaxResults()
    {
        QSignalSpy result(m_controller, &DeviceController::returnDeleteFaxResult);
        QString task = "502";
        m_sim->device()->setAllowRemove(false);
        emit m_controller->deleteFax(m_device, task);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_sim, "DELETE_FAX"),
                 QStringLiteral("<ACTION>DELETE_FAX</ACTION><TASKID>502</TASKID><DELETE>true</DELETE><REMOVE>true</REMOVE>"));
        QCOMPARE(result.takeFirst().at(0).toInt(), 1);
        m_sim->device()->setAllowRemove(true);
        emit m_controller->deleteFax(m_device, task);
        QVERIFY(finished());
        QCOMPARE(result.takeFirst().at(0).toInt(), 0);
        emit m_controller->deleteFax(m_device, task); // gone now
        QVERIFY(finished());
        QCOMPARE(result.takeFirst().at(0).toInt(), 2);
    }

    void voiceListenKeepsItsLine()
    {
        QSignalSpy listening(m_controller, &DeviceController::returnVoiceListenResult);
        emit m_controller->voiceListen(m_device, 3007, 45777);
        QVERIFY(finished());
        QCOMPARE(listening.count(), 1);
        QTRY_VERIFY(countInLog(*m_sim, "voice to") > 0);
    }
};

VELKOR_TEST_MAIN(TestDeviceCommands)
#include "TestDeviceCommands.moc"
