#pragma once

#include <QDialog>
#include <QList>
#include <QPixmap>

class QStandardItemModel;

namespace Ui {
class SignatureLibDialog;
}

// The user's library of signature images, kept in "sign.SIG" in the user's folder: a count,
// then the pixmaps in list order.
class SignatureLibDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SignatureLibDialog(QWidget* parent = nullptr);
    ~SignatureLibDialog() override;

    // The library file of the logged-in user; its folder is made when missing.
    static QString signatureFilePath();
    // The pixmaps of a library file, up to the first one that does not read.
    static QList<QPixmap> readSignatures(const QString& path);
    // Writes the whole file anew; the old file stays when the new one cannot be written.
    static bool writeSignatures(const QString& path, const QList<QPixmap>& pixmaps);

signals:
    void selectSign(QPixmap pixmap);

public slots:
    void saveSignatureList();

private slots:
    void on_button_from_file_clicked();
    void on_button_delete_sign_clicked();
    void on_listView_doubleClicked(const QModelIndex& index);
    void on_button_ok_clicked();
    void on_button_cancel_clicked();

private:
    void appendSignature(const QPixmap& pixmap);

    Ui::SignatureLibDialog* ui;
    QStandardItemModel* m_model;
    QList<QPixmap> m_signatures; // in step with the model
};
