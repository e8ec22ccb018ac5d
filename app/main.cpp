#include "DatabaseManager.h"
#include "LogUtil.h"
#include "MainWindow.h"
#include "PrintJobSpool.h"
#include "QtSingleApplication.h"
#include "SelectLanguageDialog.h"
#include "Startup.h"
#include "VelkorResources.h"

#include <QIcon>

int main(int argc, char** argv)
{
    QtSingleApplication app(argc, argv, true);

    if (app.isClient()) {
        const QString msg = QStringLiteral("Hi master, I am %1.").arg(QCoreApplication::applicationPid());
        const bool sent = app.sendMessage(msg, 2000);
        const QString rep = QStringLiteral("Another instance is running, so I will exit.")
                            + (sent ? QStringLiteral(" Message sent ok.")
                                    : QStringLiteral(" Message sending failed; the other instance may be frozen."));
        LogUtil::i(QStringLiteral("msg:%1 , rep:%2").arg(msg, rep));
        return 0;
    }

    VelkorResources::init();
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icon/icons/velkor.png")));
    QGuiApplication::setDesktopFileName(QStringLiteral("velkor"));
    // In the language chosen last; a first start is in Chinese, so are Qt's own dialogs.
    SelectLanguageDialog::applySavedLanguage();

    DatabaseManager db; // kept to the end of main
    db.createTables();

    Startup::installWindowFactories();
    Startup::openFirstWindow();
    // The print queue's backend says when a printed document waits; a logged-in session opens
    // it at once, otherwise it waits for the next login.
    QObject::connect(&app, &QtSingleApplication::messageReceived, [](const QString& message) {
        if (!PrintJobSpool::isMessage(message))
            return;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* window = qobject_cast<MainWindow*>(widget))
                window->openPrintJobs();
    });
    return app.exec();
}
