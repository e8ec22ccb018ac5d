#pragma once

#include <functional>

class QWidget;

// The two windows a session moves between. The login window lives in app/, which depends on
// this folder, and the main window is plugged in by main; so neither side names the other's
// class, and each asks here for "the other window".
//
//   main:        SessionWindows::setLoginWindowFactory([] { return new LoginWindow; });
//                SessionWindows::setMainWindowFactory([] { return new MainWindow; });
//   login:       SessionWindows::showMainWindow();   then close the login window
//   switch user: SessionWindows::showLoginWindow();  then close the main window
//
// Show the new window before closing the old one, so that the program never stands without a
// window (with quitOnLastWindowClosed that gap could end it). The windows are top-level and
// free themselves (Qt::WA_DeleteOnClose).
namespace SessionWindows {

using Factory = std::function<QWidget*()>;

// Makes the window a session works in; an empty factory means "none".
void setMainWindowFactory(Factory factory);
// Makes the window that logs a local user in; an empty factory means "none".
void setLoginWindowFactory(Factory factory);

// Makes the main window and shows it maximised; null when no factory is set.
QWidget* showMainWindow();
// Makes a login window and shows it; null when no factory is set.
QWidget* showLoginWindow();

} // namespace SessionWindows
