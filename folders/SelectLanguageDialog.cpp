#include "SelectLanguageDialog.h"
#include "ui_SelectLanguageDialog.h"

#include "AppSettings.h"
#include "LogUtil.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLibraryInfo>
#include <QTranslator>

SelectLanguageDialog::SelectLanguageDialog(QWidget* parent) : QDialog(parent), ui(new Ui::SelectLanguageDialog)
{
    ui->setupUi(this);
    ui->combo_language->setCurrentIndex(currentLanguage());
}

int& SelectLanguageDialog::currentLanguage()
{
    static int index = 1; // the program starts in Chinese
    return index;
}

SelectLanguageDialog::~SelectLanguageDialog()
{
    delete ui;
}

QString SelectLanguageDialog::translationFile(int index)
{
    return index == 0 ? QStringLiteral(":translations/Velkor_en_us.qm") : QStringLiteral(":translations/Velkor_zh_cn.qm");
}

QTranslator* SelectLanguageDialog::translator()
{
    static QTranslator* instance = new QTranslator(QCoreApplication::instance());
    return instance;
}

// Qt's own texts (the buttons of standard boxes, the file and print dialogs) in Chinese; in
// English they need none. Missing translations only leave those texts in English.
void SelectLanguageDialog::switchQtLanguage(int index)
{
    static QTranslator* qtTranslator = new QTranslator(QCoreApplication::instance());
    QCoreApplication::removeTranslator(qtTranslator);
    if (index == 0)
        return;
    if (qtTranslator->load(QStringLiteral("qtbase_zh_CN"), QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(qtTranslator);
    else
        LogUtil::d(QStringLiteral("no Chinese translation of Qt's own texts"));
}

bool SelectLanguageDialog::switchLanguage(int index)
{
    switchQtLanguage(index);
    QTranslator* tr = translator();
    // Loading into an installed translator would not tell the windows; take it out first.
    QCoreApplication::removeTranslator(tr);
    const QString file = translationFile(index);
    if (!tr->load(file)) {
        LogUtil::w(QStringLiteral("cannot load translation %1").arg(file));
        return false;
    }
    if (!QCoreApplication::installTranslator(tr))
        return false;
    currentLanguage() = index;
    return true;
}

void SelectLanguageDialog::applySavedLanguage()
{
    switchLanguage(AppSettings::userConfig()->value(AppSettings::KEY_LANGUAGE, 1).toInt() == 0 ? 0 : 1);
}

void SelectLanguageDialog::accept()
{
    const int index = ui->combo_language->currentIndex();
    if (switchLanguage(index))
        AppSettings::userConfig()->setValue(AppSettings::KEY_LANGUAGE, index);
    QDialog::accept();
}

void SelectLanguageDialog::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QDialog::changeEvent(event);
}
