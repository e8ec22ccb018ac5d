#pragma once

#include <QSettings>
#include <QString>
#include <memory>

// The two settings files. Each use opens its own QSettings and lets it go, so that any
// thread may read them.
namespace AppSettings {

// Keys of "UserConfig.ini".
inline const QString KEY_ACCOUNT = QStringLiteral("account");
inline const QString KEY_PASSWORD = QStringLiteral("password");
inline const QString KEY_REMEMBER_PWD = QStringLiteral("rememberPwd");
inline const QString KEY_AUTO_LOGIN = QStringLiteral("autoLogin");
inline const QString KEY_GET_FAX_TIME = QStringLiteral("getFaxTime");
// The language chosen last (0 English, 1 Chinese); missing on a first start, which is Chinese.
inline const QString KEY_LANGUAGE = QStringLiteral("language");
inline constexpr int DEFAULT_GET_FAX_TIME = 30;
// The remote address service; an empty URL means the service is not asked.
inline const QString KEY_ADDRESS_SERVICE_URL = QStringLiteral("addressServiceUrl");
inline const QString KEY_ADDRESS_SERVICE_TIMEOUT = QStringLiteral("addressServiceTimeoutMs");
inline constexpr int DEFAULT_ADDRESS_SERVICE_TIMEOUT = 10000;
// The external text recogniser the inbox starts with a fax file; empty means the build's
// default (VELKOR_OCR_PROGRAM), which may be empty too: then there is none.
inline const QString KEY_OCR_PROGRAM = QStringLiteral("ocrProgram");
// The text viewer that shows a fetched device log: a command line in which "%1" stands for
// the file (appended when absent). Empty means gedit where it is installed, else the
// desktop's default opener (xdg-open).
inline const QString KEY_LOG_VIEWER = QStringLiteral("logViewer");
// Closing the main window hides it in the tray, where polling and status tracking go on;
// off, closing ends the session.
inline const QString KEY_MINIMIZE_TO_TRAY = QStringLiteral("minimizeToTray");

// "UserConfig.ini" in the documents root.
std::unique_ptr<QSettings> userConfig();
// "UserSetting.ini" (the SendFaxOptions and AutoExportOptions groups). It lies in the
// documents root too, so that the options do not change with the working directory.
std::unique_ptr<QSettings> userSetting();

} // namespace AppSettings
