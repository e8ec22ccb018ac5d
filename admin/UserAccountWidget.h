#pragma once

#include "Device.h"

#include <QString>
#include <QWidget>

class DeviceController;
class QListWidgetItem;

namespace Ui {
class UserAccountWidget;
}

// The accounts on the device: the list, and one account at a time to edit or to add.
class UserAccountWidget : public QWidget
{
    Q_OBJECT

public:
    explicit UserAccountWidget(QWidget* parent = nullptr);
    ~UserAccountWidget() override;

    bool isAdding() const { return m_adding; }

    // EMAIL_OPT is the forward index plus four times the SMTP index (0-2, 4-6).
    static int emailOption(int forwardIndex, int smtpIndex) { return forwardIndex + 4 * smtpIndex; }

public slots:
    void setDevice(Device& device);
    void showUserList(QString& list);
    void showUserInfo(QString& text);
    void deleteUser(QString& feedback);
    void modifyUserResult(QString& feedback);

private slots:
    void on_listWidget_currentItemChanged(QListWidgetItem* current, QListWidgetItem* previous);
    void on_button_apply_clicked();
    void on_button_addUser_clicked();
    void on_button_deleteUser_clicked();
    void updateDependentFields();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    void leaveAddMode();
    void setPermission(int permission);
    int permission() const;

    Ui::UserAccountWidget* ui;
    Device m_device;
    DeviceController* m_controller;
    bool m_adding = false;
    QString m_deleting; // the account a delete was asked for
};
