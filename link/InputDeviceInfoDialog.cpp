#include "InputDeviceInfoDialog.h"
#include "ui_InputDeviceInfoDialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QEvent>

InputDeviceInfoDialog::InputDeviceInfoDialog(QWidget* parent) : QDialog(parent), ui(new Ui::InputDeviceInfoDialog)
{
    ui->setupUi(this);
    // OK keeps the dialog open: it closes once the bind has succeeded.
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &InputDeviceInfoDialog::onAccepted);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

InputDeviceInfoDialog::~InputDeviceInfoDialog()
{
    delete ui;
}

void InputDeviceInfoDialog::clear()
{
    ui->edit_account->clear();
    ui->edit_password->clear();
}

void InputDeviceInfoDialog::setBusy(bool busy)
{
    ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(!busy);
}

void InputDeviceInfoDialog::onAccepted()
{
    emit sendDeviceInfo(ui->edit_account->text().trimmed(), ui->edit_password->text());
}

void InputDeviceInfoDialog::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QDialog::changeEvent(event);
}
