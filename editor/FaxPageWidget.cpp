#include "FaxPageWidget.h"
#include "ui_FaxPageWidget.h"

#include "LogUtil.h"
#include "TimeUtil.h"

#include <QFile>
#include <QFontMetrics>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QTextOption>

namespace {
const QString TEMPLATE_PATH = QStringLiteral(":/icon/icons/ic_faxcover_template.png");
const QString DESCRIPTION_PATH = QStringLiteral(":/assets/assets/fax_cover.json");

// Entries of the description, reached by index.
enum CoverEntry {
    ENTRY_DATE = 0,
    ENTRY_EMAIL = 11,
    ENTRY_URGENT = 12,
    ENTRY_PLEASE_RECYCLE = 16,
    ENTRY_COMMENTS = 17,
};

struct Placement
{
    QRectF rect;
    QFont font;
};

Placement placementOf(const QJsonArray& entries, int index)
{
    const QJsonObject entry = entries.at(index).toObject();
    Placement placement;
    placement.rect = QRectF(entry.value("BasePointX").toInt(), entry.value("BasePointY").toInt(),
                            entry.value("MaxWidth").toInt(), entry.value("MaxHeight").toInt());
    placement.font.setFamily(entry.value("FontFace").toString());
    placement.font.setPixelSize(qMax(1, entry.value("FontSize").toInt()));
    return placement;
}
}

FaxPageWidget::FaxPageWidget(FaxCover& cover, QWidget* parent)
    : QWidget(parent), ui(new Ui::FaxPageWidget), m_cover(cover)
{
    ui->setupUi(this);
    setWindowFlag(Qt::Window);
    setAttribute(Qt::WA_DeleteOnClose);

    ui->edit_pages->setText(cover.pages);
    ui->edit_recv_to->setText(cover.to);
    ui->edit_recv_fax->setText(cover.recipientFax);
    ui->edit_recv_cc->setText(cover.cc);
    ui->edit_recv_subject->setText(cover.subject);
    ui->edit_send_from->setText(cover.from);
    ui->edit_send_company->setText(cover.company);
    ui->edit_send_phone->setText(cover.phone);
    ui->edit_send_fax->setText(cover.fax);
    ui->edit_send_address->setText(cover.address);
    ui->edit_send_email->setText(cover.email);
    ui->edit_comments->setPlainText(cover.comments);
    ui->check_urgent->setChecked(cover.urgent);
    ui->check_for_review->setChecked(cover.forReview);
    ui->check_please_comment->setChecked(cover.pleaseComment);
    ui->check_please_reply->setChecked(cover.pleaseReply);
    ui->check_please_recycle->setChecked(cover.pleaseRecycle);
}

FaxPageWidget::~FaxPageWidget()
{
    delete ui;
}

QImage FaxPageWidget::drawCover(const FaxCover& cover, const QString& date, const QString& pages, const QString& to,
                                const QString& recipientFax)
{
    QImage image = QImage(TEMPLATE_PATH).convertToFormat(QImage::Format_RGBA8888);
    QFile file(DESCRIPTION_PATH);
    if (!file.open(QIODevice::ReadOnly)) {
        LogUtil::w(QStringLiteral("cover description missing"));
        return image;
    }
    const QJsonArray entries = QJsonDocument::fromJson(file.readAll()).object().value("FaxCover").toArray();

    QPainter painter(&image);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setPen(Qt::black);

    // Entries 0 to 11 in description order.
    const QString texts[] = {date,          pages,         to,           recipientFax,  cover.cc,      cover.subject,
                             cover.from,    cover.company, cover.phone,  cover.fax,     cover.address, cover.email};
    for (int i = ENTRY_DATE; i <= ENTRY_EMAIL; ++i) {
        const Placement at = placementOf(entries, i);
        // Text beyond the field is cut, but a field always shows one whole line: a fallback
        // font for Chinese is taller than some fields.
        QRectF field = at.rect;
        field.setHeight(qMax(field.height(), QFontMetricsF(at.font).height()));
        painter.save();
        painter.setClipRect(field);
        painter.setFont(at.font);
        painter.drawText(field, texts[i], QTextOption());
        painter.restore();
    }

    // The comments wrap inside the box's width and may run below it.
    {
        const Placement at = placementOf(entries, ENTRY_COMMENTS);
        painter.setFont(at.font);
        const QRect box(QPoint(int(at.rect.x()), int(at.rect.y())),
                        QPoint(int(at.rect.x() + at.rect.width() - 1), int(at.rect.y() + at.rect.height() - 1)));
        const QRect bounds = QFontMetrics(at.font).boundingRect(box, Qt::TextWordWrap, cover.comments);
        painter.drawText(bounds, Qt::TextWordWrap, cover.comments);
    }

    const bool checks[] = {cover.urgent, cover.forReview, cover.pleaseComment, cover.pleaseReply, cover.pleaseRecycle};
    for (int i = ENTRY_URGENT; i <= ENTRY_PLEASE_RECYCLE; ++i) {
        if (!checks[i - ENTRY_URGENT])
            continue;
        const Placement at = placementOf(entries, i);
        painter.setFont(at.font);
        // The mark is larger than its square: centred on it, whole, inside the printed box.
        painter.drawText(at.rect, Qt::AlignCenter | Qt::TextDontClip, QStringLiteral("√"));
    }
    painter.end();
    return image;
}

void FaxPageWidget::on_button_apply_clicked()
{
    const QString typedDate = ui->edit_date->text();
    const QString typedPages = ui->edit_pages->text();
    const QString typedTo = ui->edit_recv_to->text();
    const QString typedFax = ui->edit_recv_fax->text();

    // Typed values come back on the next opening; the automatic ones are worked out anew.
    m_cover.to = typedTo;
    m_cover.recipientFax = typedFax;
    m_cover.cc = ui->edit_recv_cc->text();
    m_cover.subject = ui->edit_recv_subject->text();
    m_cover.from = ui->edit_send_from->text();
    m_cover.company = ui->edit_send_company->text();
    m_cover.phone = ui->edit_send_phone->text();
    m_cover.fax = ui->edit_send_fax->text();
    m_cover.address = ui->edit_send_address->text();
    m_cover.email = ui->edit_send_email->text();
    m_cover.comments = ui->edit_comments->toPlainText();
    m_cover.urgent = ui->check_urgent->isChecked();
    m_cover.forReview = ui->check_for_review->isChecked();
    m_cover.pleaseComment = ui->check_please_comment->isChecked();
    m_cover.pleaseReply = ui->check_please_reply->isChecked();
    m_cover.pleaseRecycle = ui->check_please_recycle->isChecked();

    const QString date = typedDate.isEmpty() ? TimeUtil::getDate() : typedDate;
    const QString pages = typedPages.isEmpty() ? QString::number(m_cover.pageCount.toInt() + 1) : typedPages;
    const QString to = typedTo.isEmpty() ? m_cover.toAuto : typedTo;
    const QString recipientFax = typedFax.isEmpty() ? m_cover.recipientFaxAuto : typedFax;

    QImage image = drawCover(m_cover, date, pages, to, recipientFax);
    emit addFaxPage(image);
    close();
}

void FaxPageWidget::on_button_cancel_clicked()
{
    close();
}
