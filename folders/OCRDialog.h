#pragma once

#include <QDialog>
#include <QString>

class MyController;

namespace Ui {
class OCRDialog;
}

// Shows the text recognised in a fax file; recognition runs on MyController's thread.
class OCRDialog : public QDialog
{
    Q_OBJECT

public:
    OCRDialog(QString file, QWidget* parent = nullptr);
    ~OCRDialog() override;

    QString text() const;

public slots:
    void ocrResult(QString& text);

protected:
    void changeEvent(QEvent* event) override;

private:
    Ui::OCRDialog* ui;
    MyController* m_controller;
};
