// Draws the blank cover page "ic_faxcover_template.png" and writes its description
// "fax_cover.json" from one table, so that the captions on the page and the positions the
// cover form draws at cannot drift apart. Run scripts/make-cover-template.sh.
#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>

namespace {

struct Entry
{
    const char* tag;
    bool autoFill;
    const char* name;
    const char* type;
    int x, y, width, height, fontSize;
    const char* align;
    int basePointY; // the "BasePoint" text differs from "BasePointY" for the check boxes
    const char* caption;
};

// Index order is what the cover form relies on.
const Entry kEntries[] = {
    {"TAG_FAX_COVER_DATE", true, "Date", "Text", 1007, 461, 533, 80, 32, "TopLeft", 461, "Date:"},
    {"TAG_FAX_COVER_PAGES", true, "Pages", "Text", 1007, 539, 533, 80, 32, "TopLeft", 539, "Pages:"},
    {"TAG_FAX_COVER_RECIPIENT", true, "To", "Text", 287, 382, 533, 74, 32, "TopLeft", 382, "To:"},
    {"TAG_FAX_COVER_RECIPIENT_FAX", true, "Fax", "Text", 1007, 382, 533, 74, 32, "TopLeft", 382, "Fax:"},
    {"TAG_FAX_COVER_RECIPIENT_CC", false, "CC", "Text", 287, 537, 533, 80, 32, "TopLeft", 537, "CC:"},
    {"TAG_FAX_COVER_RECIPIENT_SUBJECT", false, "Subject", "Text", 287, 621, 1295, 34, 32, "TopLeft", 621, "Subject:"},
    {"TAG_FAX_COVER_SENDER", false, "From", "Text", 287, 460, 533, 80, 32, "TopLeft", 460, "From:"},
    {"TAG_FAX_COVER_SENDER_COMPANY", false, "Company", "Text", 145, 1909, 1440, 37, 32, "TopLeft", 1909, "Company"},
    {"TAG_FAX_COVER_SENDER_PHONE", false, "Phone", "Text", 287, 2000, 1295, 29, 28, "TopLeft", 2000, "Phone:"},
    {"TAG_FAX_COVER_SENDER_FAX", false, "Fax", "Text", 287, 1975, 1295, 29, 28, "TopLeft", 1975, "Fax:"},
    {"TAG_FAX_COVER_SENDER_ADDRESS", false, "Address", "Text", 287, 1943, 1295, 38, 28, "TopLeft", 1943, "Address:"},
    {"TAG_FAX_COVER_SENDER_EMAIL", false, "Email", "Text", 287, 2025, 1295, 29, 28, "TopLeft", 2025, "Email:"},
    {"TAG_FAX_COVER_URGENT", false, "Urgent", "Check", 145, 777, 20, 20, 32, "TopLeft", 775, "Urgent"},
    {"TAG_FAX_COVER_FOR_REVIEW", false, "For Review", "Check", 350, 777, 20, 20, 32, "TopLeft", 775, "For Review"},
    {"TAG_FAX_COVER_PLEASE_COMMENT", false, "Please Comment", "Check", 635, 777, 20, 20, 32, "TopLeft", 775,
     "Please Comment"},
    {"TAG_FAX_COVER_PLEASE_REPLY", false, "Please Reply", "Check", 1012, 777, 20, 20, 32, "TopLeft", 775,
     "Please Reply"},
    {"TAG_FAX_COVER_PLEASE_RECYCLE", false, "Please Recycle", "Check", 1317, 777, 20, 20, 32, "TopLeft", 775,
     "Please Recycle"},
    {"TAG_FAX_COVER_COMMENTS", false, "Comments", "Long_Text", 142, 1001, 1440, 836, 32, "TopLeft", 1001,
     "Comments:"},
    {"TAG_FAX_COVER_LOGO", false, "Logo", "Picture", 1303, 1909, 280, 178, 32, "BottomRight", 1909, ""},
};

QJsonDocument description()
{
    QJsonArray array;
    for (const Entry& e : kEntries) {
        QJsonObject o;
        o["Tag"] = e.tag;
        o["Auto"] = e.autoFill;
        o["BasePointX"] = e.x;
        o["BasePointY"] = e.y;
        o["ContentName"] = e.name;
        o["ContentValue"] = "";
        o["ContentType"] = e.type;
        o["BasePoint"] = QString("%1,%2").arg(e.x).arg(e.basePointY);
        o["Align"] = e.align;
        o["MaxWidth"] = e.width;
        o["MaxHeight"] = e.height;
        o["FontFace"] = "Arial Black";
        o["FontSize"] = e.fontSize;
        o["FontBold"] = "";
        array.append(o);
    }
    QJsonObject root;
    root["FaxCover"] = array;
    return QJsonDocument(root);
}

QFont captionFont(int pixels, bool bold = true)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

void rule(QPainter& p, int y, int width)
{
    p.setPen(QPen(Qt::black, width));
    p.drawLine(142, y, 1585, y);
}

QImage templateImage()
{
    QImage image(1728, 2200, QImage::Format_RGB888);
    image.fill(Qt::white);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);

    p.setPen(Qt::black);
    p.setFont(captionFont(150));
    p.drawText(QRect(142, 110, 900, 180), Qt::AlignLeft | Qt::AlignBottom, QStringLiteral("FAX"));
    p.setFont(captionFont(34, false));
    p.drawText(QRect(900, 110, 685, 180), Qt::AlignRight | Qt::AlignBottom, QStringLiteral("COVER SHEET"));
    rule(p, 320, 8);

    for (int i = 0; i < 19; ++i) {
        const Entry& e = kEntries[i];
        const QString caption = QString::fromUtf8(e.caption);
        p.setPen(Qt::black);
        if (i <= 6 || (i >= 8 && i <= 11)) {
            // Caption to the left of the field, on its first line, and a line under the field.
            const bool sender = i >= 8;
            p.setFont(captionFont(sender ? 24 : 30));
            const int lineHeight = sender ? 29 : 40;
            p.drawText(QRect(e.x - 260, e.y, 245, lineHeight), Qt::AlignRight | Qt::AlignVCenter, caption);
            if (!sender) {
                p.setPen(QPen(Qt::black, 2));
                p.drawLine(e.x, e.y + 48, e.x + e.width, e.y + 48);
            }
        } else if (i == 7) {
            p.setFont(captionFont(24));
            p.drawText(QRect(e.x, e.y - 40, 400, 32), Qt::AlignLeft | Qt::AlignVCenter, caption);
        } else if (i >= 12 && i <= 16) {
            // A box around the mark's square, the caption to its right.
            p.setPen(QPen(Qt::black, 3));
            p.drawRect(QRect(e.x - 6, e.y - 6, e.width + 12, e.height + 12));
            p.setFont(captionFont(30, false));
            p.drawText(QRect(e.x + e.width + 20, e.y - 15, 300, 50), Qt::AlignLeft | Qt::AlignVCenter, caption);
        } else if (i == 17) {
            p.setFont(captionFont(30));
            p.drawText(QRect(e.x, e.y - 56, 600, 44), Qt::AlignLeft | Qt::AlignVCenter, caption);
            p.setPen(QPen(Qt::black, 2));
            p.drawRect(QRect(e.x - 10, e.y - 10, e.width + 20, e.height + 20));
        }
    }
    rule(p, 720, 3);
    rule(p, 880, 3);
    rule(p, 1862, 3);
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 3) {
        qWarning("usage: make-cover-template <png path> <json path>");
        return 2;
    }
    if (!templateImage().save(QString::fromLocal8Bit(argv[1]), "PNG"))
        return 1;
    QFile json(QString::fromLocal8Bit(argv[2]));
    if (!json.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 1;
    json.write(description().toJson(QJsonDocument::Indented));
    return 0;
}
