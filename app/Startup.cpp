#include "Startup.h"

#include "AppSettings.h"
#include "DatabaseManager.h"
#include "LoginWindow.h"
#include "MGlobal.h"
#include "MainWindow.h"
#include "SessionWindows.h"

namespace Startup {

void installWindowFactories()
{
    SessionWindows::setLoginWindowFactory([]() -> QWidget* { return new LoginWindow; });
    SessionWindows::setMainWindowFactory([]() -> QWidget* { return new MainWindow; });
}

QWidget* openFirstWindow()
{
    auto settings = AppSettings::userConfig();
    const bool rememberPwd = settings->value(AppSettings::KEY_REMEMBER_PWD, false).toBool();
    const bool autoLogin = settings->value(AppSettings::KEY_AUTO_LOGIN, false).toBool();
    if (!rememberPwd || !autoLogin)
        return SessionWindows::showLoginWindow();

    // An account deleted since gives an empty record: the session then shows nothing.
    QString account = settings->value(AppSettings::KEY_ACCOUNT).toString();
    DatabaseManager db;
    gUser = db.queryUserByNickname(account);
    return SessionWindows::showMainWindow();
}

} // namespace Startup
