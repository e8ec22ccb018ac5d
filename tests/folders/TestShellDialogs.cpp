#include "AppSettings.h"
#include "SelectLanguageDialog.h"
#include "SettingDialog.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTranslator>

// The program's options and language dialogs.
class TestShellDialogs : public QObject
{
    Q_OBJECT

    static int storedFaxTime() { return AppSettings::userConfig()->value("getFaxTime", -1).toInt(); }

private slots:
    void init() { TestSupport::freshHome(); }
    void cleanup() { SelectLanguageDialog::switchLanguage(1); }

    void settingOpensWithStoredValueAndWritesOnAccept()
    {
        {
            SettingDialog dialog;
            QCOMPARE(dialog.windowTitle(), QStringLiteral("程序选项"));
            QCOMPARE(TestSupport::find<QGroupBox>(&dialog, "groupBox_fax_notice")->title(), QStringLiteral("传真提醒"));
            QCOMPARE(TestSupport::find<QLabel>(&dialog, "label_fax_time")->text(), QStringLiteral("秒获取新传真"));
            auto* spin = TestSupport::find<QSpinBox>(&dialog, "spin_fax_time");
            QCOMPARE(spin->value(), 30);
            spin->setValue(4);
            QCOMPARE(spin->value(), 5);
            spin->setValue(61);
            QCOMPARE(spin->value(), 60);
            spin->setValue(45);
            // Cancel writes nothing.
            TestSupport::find<QPushButton>(&dialog, "button_cancel")->click();
            QCOMPARE(storedFaxTime(), -1);
        }
        {
            SettingDialog dialog;
            auto* spin = TestSupport::find<QSpinBox>(&dialog, "spin_fax_time");
            spin->setValue(45);
            TestSupport::find<QPushButton>(&dialog, "button_confirm")->click();
            QCOMPARE(storedFaxTime(), 45);
        }
        SettingDialog reopened;
        QCOMPARE(TestSupport::find<QSpinBox>(&reopened, "spin_fax_time")->value(), 45);
    }

    void externalProgramsAreSettings()
    {
        {
            SettingDialog dialog;
            QVERIFY(TestSupport::find<QLineEdit>(&dialog, "edit_ocr_program")->text().isEmpty());
            TestSupport::find<QLineEdit>(&dialog, "edit_ocr_program")->setText(QStringLiteral(" /opt/ocr/bin/ocr "));
            TestSupport::find<QLineEdit>(&dialog, "edit_log_viewer")->setText(QStringLiteral("kate %1"));
            TestSupport::find<QLineEdit>(&dialog, "edit_address_service")->setText(QStringLiteral("https://addr.example/q"));
            TestSupport::find<QPushButton>(&dialog, "button_confirm")->click();
        }
        auto config = AppSettings::userConfig();
        QCOMPARE(config->value(AppSettings::KEY_OCR_PROGRAM).toString(), QStringLiteral("/opt/ocr/bin/ocr"));
        QCOMPARE(config->value(AppSettings::KEY_LOG_VIEWER).toString(), QStringLiteral("kate %1"));
        QCOMPARE(config->value(AppSettings::KEY_ADDRESS_SERVICE_URL).toString(), QStringLiteral("https://addr.example/q"));
        SettingDialog reopened;
        QCOMPARE(TestSupport::find<QLineEdit>(&reopened, "edit_log_viewer")->text(), QStringLiteral("kate %1"));
    }

    void handWrittenValueOutsideTheRangeStaysUntilAccepted()
    {
        AppSettings::userConfig()->setValue("getFaxTime", 90);
        {
            SettingDialog dialog;
            QCOMPARE(TestSupport::find<QSpinBox>(&dialog, "spin_fax_time")->value(), 60);
            dialog.reject();
        }
        QCOMPARE(storedFaxTime(), 90);
        SettingDialog dialog;
        dialog.accept();
        QCOMPARE(storedFaxTime(), 60);
    }

    void embeddedTranslationsLoad()
    {
        for (const QString& name : {QStringLiteral(":translations/Velkor_en_us.qm"),
                                    QStringLiteral(":/translations/Velkor_en_us.qm"),
                                    QStringLiteral(":translations/Velkor_zh_cn.qm")}) {
            QVERIFY2(QFile::exists(name), qPrintable(name));
            QTranslator translator;
            QVERIFY2(translator.load(name), qPrintable(name));
            QVERIFY(!translator.isEmpty());
        }
        QCOMPARE(SelectLanguageDialog::translationFile(0), QStringLiteral(":translations/Velkor_en_us.qm"));
        QCOMPARE(SelectLanguageDialog::translationFile(1), QStringLiteral(":translations/Velkor_zh_cn.qm"));
    }

    void languageChoiceOutlivesTheDialog()
    {
        {
            SelectLanguageDialog dialog;
            TestSupport::find<QComboBox>(&dialog, "combo_language")->setCurrentIndex(0);
            dialog.accept();
        }
        QCOMPARE(QCoreApplication::translate("FaxStatus", "发送失败"), QStringLiteral("Send failed"));
        {
            // A rejected dialog changes nothing.
            SelectLanguageDialog dialog;
            TestSupport::find<QComboBox>(&dialog, "combo_language")->setCurrentIndex(1);
            dialog.reject();
        }
        QCOMPARE(QCoreApplication::translate("FaxStatus", "发送失败"), QStringLiteral("Send failed"));
        // Nothing about the choice is stored: the next start is Chinese.
        QVERIFY(AppSettings::userConfig()->allKeys().isEmpty());
        QVERIFY(SelectLanguageDialog::switchLanguage(1));
        QCOMPARE(QCoreApplication::translate("FaxStatus", "发送失败"), QStringLiteral("发送失败"));
    }
};

VELKOR_TEST_MAIN(TestShellDialogs)
#include "TestShellDialogs.moc"
