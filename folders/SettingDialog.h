#pragma once

#include <QDialog>

namespace Ui {
class SettingDialog;
}

// The program's options: how many seconds lie between two polls for new faxes (5 to 60).
// The inbox reads the value after every poll, so a change takes effect from the next one.
// Also how the editor turns PDF files into pages (read when a file is opened).
class SettingDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SettingDialog(QWidget* parent = nullptr);
    ~SettingDialog() override;

    void accept() override;

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::SettingDialog* ui;
};
