#pragma once

#include "FaxOption.h"

#include <QDialog>

namespace Ui {
class FaxOptionDialog;
}

// How the device is to treat one job: schedule, dialling, priority, quality, header and dial
// prefix. Edits the editor's FaxOption in place on OK; can also store the defaults.
class FaxOptionDialog : public QDialog
{
    Q_OBJECT

public:
    FaxOptionDialog(FaxOption& option, QWidget* parent = nullptr);
    ~FaxOptionDialog() override;

    // The stored defaults under "/SendFaxOptions/" (5, 1, false, false, 2, 1 when absent);
    // the schedule is never stored, so it comes back off.
    static FaxOption loadDefaults();
    // Writes the six stored keys of the option.
    static void saveDefaults(const FaxOption& option);

private slots:
    void on_button_ok_clicked();
    void on_button_cancel_clicked();
    void on_check_start_at_stateChanged(int state);
    void on_check_cancal_fax_after_stateChanged(int state);
    void on_check_enable_from_stateChanged(int state);

private:
    Ui::FaxOptionDialog* ui;
    FaxOption& m_option;
};
