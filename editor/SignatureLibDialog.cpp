#include "SignatureLibDialog.h"
#include "ui_SignatureLibDialog.h"

#include "DialogUtil.h"
#include "ImageUtil.h"
#include "LogUtil.h"
#include "MGlobal.h"
#include "MessageBoxUtil.h"
#include "SignatureDelegate.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardItemModel>
#include <QStandardPaths>

namespace {
const int RECORD_ROLE = Qt::UserRole + 1;
}

SignatureLibDialog::SignatureLibDialog(QWidget* parent)
    : QDialog(parent), ui(new Ui::SignatureLibDialog), m_model(new QStandardItemModel(this))
{
    ui->setupUi(this);
    ui->listView->setModel(m_model);
    ui->listView->setItemDelegate(new SignatureDelegate(ui->listView));
    ui->listView->setViewMode(QListView::ListMode);
    ui->listView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (const QPixmap& pixmap : readSignatures(signatureFilePath()))
        appendSignature(pixmap);
}

SignatureLibDialog::~SignatureLibDialog()
{
    delete ui;
}

QString SignatureLibDialog::signatureFilePath()
{
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + "/Velkor/" + gUser.nickname;
    QDir().mkpath(folder);
    return folder + "/sign.SIG";
}

QList<QPixmap> SignatureLibDialog::readSignatures(const QString& path)
{
    QList<QPixmap> pixmaps;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return pixmaps;
    QDataStream in(&file);
    qint32 count = 0;
    in >> count;
    for (qint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        QPixmap pixmap;
        in >> pixmap;
        if (in.status() != QDataStream::Ok)
            break;
        pixmaps.append(pixmap);
    }
    return pixmaps;
}

bool SignatureLibDialog::writeSignatures(const QString& path, const QList<QPixmap>& pixmaps)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QDataStream out(&file);
    out << qint32(pixmaps.size());
    for (const QPixmap& pixmap : pixmaps)
        out << pixmap;
    if (out.status() != QDataStream::Ok) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

void SignatureLibDialog::saveSignatureList()
{
    if (!writeSignatures(signatureFilePath(), m_signatures))
        LogUtil::w(QStringLiteral("signature library not written"));
}

void SignatureLibDialog::appendSignature(const QPixmap& pixmap)
{
    auto* item = new QStandardItem;
    item->setData(pixmap, RECORD_ROLE);
    m_model->appendRow(item);
    m_signatures.append(pixmap);
}

void SignatureLibDialog::on_button_from_file_clicked()
{
    const QString path =
        DialogUtil::getOpenFileName(this, tr("选择图片"), QStringLiteral("/home"), QStringLiteral("Image Files(*.jpg *.png)"));
    if (path.isEmpty())
        return;
    QImage image(path);
    if (image.isNull()) {
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法读取图片：%1").arg(path));
        return;
    }
    appendSignature(QPixmap::fromImage(ImageUtil::signBlackWhite(image)));
    saveSignatureList();
}

void SignatureLibDialog::on_button_delete_sign_clicked()
{
    const QModelIndex index = ui->listView->currentIndex();
    if (!index.isValid() || !ui->listView->selectionModel()->isSelected(index))
        return;
    m_signatures.removeAt(index.row());
    m_model->removeRow(index.row());
    saveSignatureList();
}

void SignatureLibDialog::on_listView_doubleClicked(const QModelIndex& index)
{
    const QPixmap pixmap = index.data(RECORD_ROLE).value<QPixmap>();
    emit selectSign(pixmap);
    close();
}

void SignatureLibDialog::on_button_ok_clicked()
{
    close();
}

void SignatureLibDialog::on_button_cancel_clicked()
{
    close();
}
