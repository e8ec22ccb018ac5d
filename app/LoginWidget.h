#pragma once

#include <QString>
#include <QWidget>

namespace Ui {
class LoginWidget;
}

// Page 0 of the login window: logs a local account in and remembers the last login in
// "UserConfig.ini" (the password enciphered) and "login.dat".
class LoginWidget : public QWidget
{
    Q_OBJECT

public:
    explicit LoginWidget(QWidget* parent = nullptr);
    ~LoginWidget() override;

signals:
    // Asks the login window to show a page (1: account creation).
    void display(int index);
    // gUser now holds the logged-in account.
    void loginSuccess();

public slots:
    // A new account was made: offer it for login with an empty password and both boxes clear.
    void showUserNickname(QString& nickname);

protected:
    void changeEvent(QEvent* event) override;

private slots:
    void on_button_login_clicked();
    void on_button_create_local_account_clicked();
    void on_button_language_clicked();
    void on_check_remember_pwd_toggled(bool checked);
    void on_check_auto_login_toggled(bool checked);

private:
    void loadConfig();
    void saveConfig(QString& nickname, QString& password);

    Ui::LoginWidget* ui;
    bool m_rememberPwd = false;
    bool m_autoLogin = false;
};
