#pragma once

class QWidget;

// What main does once it knows it is the only instance.
namespace Startup {

// Points the session hooks (SessionWindows) at this program's windows: LoginWindow, and the
// window a session works in.
void installWindowFactories();

// Opens the first window, the tables being made: the main window straight away when the last
// login ticked both "记住密码" and "自动登录" (gUser is then the remembered account, with no
// password asked), else the login window. Returns the window shown.
QWidget* openFirstWindow();

} // namespace Startup
