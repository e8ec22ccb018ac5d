#pragma once

#include <QString>
#include <QWidget>

namespace Ui {
class CreateLocalAccountWidget;
}

// Page 1 of the login window: makes a local account, which works on this computer only.
class CreateLocalAccountWidget : public QWidget
{
    Q_OBJECT

public:
    explicit CreateLocalAccountWidget(QWidget* parent = nullptr);
    ~CreateLocalAccountWidget() override;

signals:
    // Asks the login window to show a page (0: login).
    void display(int index);
    // An account was made under this nickname.
    void showCreateUserNickname(QString& nickname);

protected:
    void changeEvent(QEvent* event) override;

private slots:
    void on_button_confirm_clicked();
    void on_button_back_clicked();

private:
    void clearEdits();

    Ui::CreateLocalAccountWidget* ui;
};
