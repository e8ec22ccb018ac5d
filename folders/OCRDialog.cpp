#include "OCRDialog.h"

#include "ui_OCRDialog.h"

#include "LogUtil.h"
#include "MyController.h"

#include <QEvent>

OCRDialog::OCRDialog(QString file, QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::OCRDialog)
    , m_controller(new MyController(this))
{
    ui->setupUi(this);
    connect(m_controller, &MyController::ocrResultReturn, this, &OCRDialog::ocrResult);
    emit m_controller->ocrIdentify(file);
}

OCRDialog::~OCRDialog()
{
    delete ui;
}

QString OCRDialog::text() const
{
    return ui->textEdit->toPlainText();
}

void OCRDialog::ocrResult(QString& text)
{
    ui->textEdit->setPlainText(text);
    LogUtil::d(QStringLiteral("result:") + text);
}

void OCRDialog::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QDialog::changeEvent(event);
}
