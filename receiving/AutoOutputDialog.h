#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class AutoOutputDialog;
}

// "传真自动输出设置": where received and successfully sent faxes are copied, as PDF or TIFF.
// The choices live under "/AutoExportOptions/" in "UserSetting.ini"; FaxExporter reads them.
class AutoOutputDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AutoOutputDialog(QWidget* parent = nullptr);
    ~AutoOutputDialog() override;

private slots:
    void on_check_receive_output_stateChanged(int state);
    void on_check_send_output_stateChanged(int state);
    void on_button_receive_output_path_clicked();
    void on_button_send_ooutput_path_clicked();
    void on_button_apply_clicked();

private:
    void enableReceive(bool on);
    void enableSend(bool on);

    std::unique_ptr<Ui::AutoOutputDialog> ui;
};
