#pragma once

#include <QMainWindow>

class CreateLocalAccountWidget;
class LoginWidget;

namespace Ui {
class LoginWindow;
}

// The window before a session: login at page 0, account creation at page 1. It frees itself
// when it closes.
class LoginWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit LoginWindow(QWidget* parent = nullptr);
    ~LoginWindow() override;

public slots:
    // Opens the session's main window (SessionWindows) and closes this one.
    void gotoMainWindow();

protected:
    void changeEvent(QEvent* event) override;

private:
    void fitFixedSize();

    Ui::LoginWindow* ui;
    LoginWidget* m_loginWidget;
    CreateLocalAccountWidget* m_createWidget;
};
