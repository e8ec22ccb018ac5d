// Writes the seed corpora of the fuzz targets, each made by the client's own writers (or, for
// what the client only reads, by the same rules the device and the user's programs follow).
// Usage: fuzz_seeds <folder>; makes <folder>/<target>/ with a few files each.
#include "ContactCsv.h"
#include "FaxRecordUtil.h"
#include "IniUtil.h"
#include "TiffUtil.h"
#include "WireCodec.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QPdfWriter>
#include <QTextCodec>

#include <tiffio.h>

#include <cstdio>

namespace {

QString g_root;

void put(const QString& target, const QString& name, const QByteArray& bytes)
{
    QDir().mkpath(g_root + QLatin1Char('/') + target);
    QFile file(g_root + QLatin1Char('/') + target + QLatin1Char('/') + name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
        std::exit(1);
    }
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void getValueSeeds()
{
    // The tag length in the first unit, the tag, then the reply (see fuzz_getvalue.cpp).
    auto withTag = [](const QString& tag, const QString& reply) {
        return WireCodec::encode(QChar(ushort(tag.size())) + tag + reply);
    };
    put("getvalue", "greeting", withTag(QStringLiteral("SERVER_ID"),
        QStringLiteral("<SERVER_NAME>演示传真服务器</SERVER_NAME><SERVER_ID>5A3C0001</SERVER_ID><VERIFY_STRING>8f3a</VERIFY_STRING>")));
    put("getvalue", "login", withTag(QStringLiteral("login_state"),
        QStringLiteral("<LOGIN_STATE>OK</LOGIN_STATE><PERMISSION>63</PERMISSION><EXT_NUM>801</EXT_NUM>")));
    put("getvalue", "newfax", withTag(QStringLiteral("COUNT"),
        QStringLiteral("<COUNT>3</COUNT><TIME>2024-03-05 04:07:09</TIME><CID>021-5555</CID><FILE>00100000</FILE>"
                       "<TASK>501</TASK><SENDER>Zhang</SENDER><RECEIVER>public</RECEIVER><SVRID>5A3C0001</SVRID>"
                       "<REMARK>a < b</REMARK><STATUS_ID>11</STATUS_ID>")));
    put("getvalue", "downfile", withTag(QStringLiteral("FILE_LEN"), QStringLiteral("<FEEDBACK>OK</FEEDBACK><FILE_LEN>4821</FILE_LEN>")));
    put("getvalue", "mixedcase", withTag(QStringLiteral("Feedback"), QStringLiteral("</feedback><feedback>RECV_OK</FEEDBACK><TASKID>1001</TASKID>")));
    QByteArray withNul = WireCodec::encode(QStringLiteral("<AMOUNT>2</AMOUNT>"));
    withNul.append(2, '\0');
    put("getvalue", "trailingnul", withNul);
}

Fax sampleFax()
{
    Fax fax;
    fax.cid = QStringLiteral("02155550123");
    fax.receiver = QStringLiteral("张三 Zhang San");
    fax.pageTotal = 3;
    fax.dialTotal = 2;
    fax.priority = 2;
    fax.quality = 1;
    fax.retryTime = 5;
    fax.dateTimePlan = QDateTime(QDate(2024, 3, 5), QTime(9, 30), Qt::LocalTime);
    fax.timeFrom = QTime(8, 0);
    fax.timeTo = QTime(18, 0);
    return fax;
}

void recordSeeds()
{
    const QDateTime now(QDate(2024, 3, 5), QTime(4, 7, 9), Qt::UTC);
    QByteArray record = FaxRecordUtil::writeUploadHeader(sampleFax(), now);
    put("record", "upload-header", record);

    // A status record of a fax that failed, as the device fills it in.
    QByteArray failed = record;
    FaxRecordUtil::writeInt(failed, FaxRecordUtil::STATUS, 1);
    FaxRecordUtil::writeInt(failed, FaxRecordUtil::PAGES_SENT, 1);
    FaxRecordUtil::writeInt(failed, FaxRecordUtil::DIAL_ALREADY, 2);
    FaxRecordUtil::writeInt(failed, FaxRecordUtil::SEND_STATE, 3);
    FaxRecordUtil::writeInt(failed, FaxRecordUtil::TRAINING_VALUE, 14400);
    const QByteArray issue = QStringLiteral("Line busy 线路忙").toUtf8();
    for (int i = 0; i < issue.size(); ++i)
        failed[FaxRecordUtil::ISSUE + 2 * i] = issue.at(i);
    put("record", "status-failed", failed);

    // A list of two: queue records carry task, file and device numbers.
    QByteArray listed = failed;
    FaxRecordUtil::writeInt(listed, FaxRecordUtil::TASK_ID, 1001);
    FaxRecordUtil::writeInt(listed, FaxRecordUtil::FILE_NUMBER, 0x00100000);
    FaxRecordUtil::writeInt(listed, FaxRecordUtil::DEVICE_NUMBER, 0x5A3C0001);
    FaxRecordUtil::writeInt(listed, FaxRecordUtil::LINE, 2);
    put("record", "list-of-two", listed + record);
    put("record", "short", record.left(100));
}

void iniSeeds()
{
    IniUtil::clear();
    IniUtil::setValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName"), QStringLiteral("演示传真服务器"));
    IniUtil::setValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("RingCount"), QStringLiteral("2"));
    IniUtil::setValue(QStringLiteral("NETWORK"), QStringLiteral("IP"), QStringLiteral("192.168.1.20"));
    IniUtil::setValue(QString(), QStringLiteral("Loose"), QStringLiteral("a=b"));
    const QString tmp = g_root + QStringLiteral("/written.cfg");
    const QString text = IniUtil::writeIni(tmp);
    put("ini", "written", readFile(tmp));
    QFile::remove(tmp);
    // As the device keeps it: a mark in front and CR LF line ends.
    QString crlf = text;
    crlf.replace(QStringLiteral("\n"), QStringLiteral("\r\n"));
    put("ini", "device-crlf", WireCodec::encodeWithBom(QStringLiteral("; comment\r\n") + crlf + QStringLiteral("Odd=[x]\r\n")));
    IniUtil::clear();
}

void csvSeeds()
{
    Contact plain;
    plain.lastName = QStringLiteral("张");
    plain.firstName = QStringLiteral("三");
    plain.represented = QStringLiteral("张三");
    plain.company = QStringLiteral("Velkor");
    plain.businessFax = QStringLiteral("021-5555-0123");
    plain.email = QStringLiteral("zhang@example.com");
    Contact awkward = plain;
    awkward.company = QStringLiteral("Smith, Jones & \"Partners\"");
    awkward.address = QStringLiteral("Line one\nLine two");
    awkward.remark = QStringLiteral("ends in CR\r");
    const QString path = g_root + QStringLiteral("/contacts.csv");
    ContactCsv::write(path, { plain, awkward });
    put("contact_csv", "exported", readFile(path));
    QFile::remove(path);
    // A file written elsewhere: CR LF, no quoting, a short line.
    put("contact_csv", "windows", (ContactCsv::header() + QStringLiteral("\r\n李,四,李四,,,,,,,010-1,,,,,,\r\nshort,line\r\n")).toUtf8());
}

void discoverySeeds()
{
    QTextCodec* gbk = QTextCodec::codecForName("GBK");
    // One byte in front picks the sender's form (see fuzz_discovery.cpp).
    put("discovery", "reply", QByteArray(1, '\0') + gbk->fromUnicode(QStringLiteral("Velkor/Tavio(NAME:演示传真服务器 ID:5A3C0001)")));
    put("discovery", "mapped", QByteArray(1, '\1') + gbk->fromUnicode(QStringLiteral("NAME: Fax ID: 5A3C0002 )")));
    put("discovery", "query", QByteArray(1, '\2') + QByteArray("Velkor/Tavio where are you?(ID:ANY)"));
}

QImage page(int width, int height, const QString& text)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(Qt::black);
    painter.drawRect(4, 4, width - 9, height - 9);
    painter.drawText(image.rect(), Qt::AlignCenter, text);
    return image;
}

void tiffSeeds()
{
    const QString path = g_root + QStringLiteral("/fax.tif");
    TiffUtil::writeImgToTiff({ page(216, 60, QStringLiteral("Fax 1")), page(216, 40, QStringLiteral("2")) }, path);
    put("tiff", "fax-two-pages", readFile(path));
    QFile::remove(path);

    // What other senders produce: a standard-resolution page (98 lines an inch), uncompressed.
    TIFF* tif = TIFFOpen(QFile::encodeName(path).constData(), "w");
    const uint32_t width = 64;
    const uint32_t rows = 16;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, rows);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, 204.0);
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, 98.0);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rows);
    uchar line[width / 8];
    for (uint32_t r = 0; r < rows; ++r) {
        for (uint32_t i = 0; i < width / 8; ++i)
            line[i] = uchar((r * 37 + i * 11) & 0xFF);
        TIFFWriteScanline(tif, line, r, 0);
    }
    TIFFClose(tif);
    put("tiff", "standard-uncompressed", readFile(path));
    QFile::remove(path);
}

// A PDF with plain (unpacked) objects, so that mutations reach its structure.
QByteArray plainPdf(const QByteArray& mediaBox, const QByteArray& content)
{
    QList<QByteArray> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [" + mediaBox + "] /Contents 4 0 R"
        " /Resources << /Font << /F1 5 0 R >> >> >>",
        "<< /Length " + QByteArray::number(content.size()) + " >>\nstream\n" + content + "\nendstream",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
    };
    QByteArray pdf = "%PDF-1.4\n";
    QList<int> offsets;
    for (int i = 0; i < objects.size(); ++i) {
        offsets << pdf.size();
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects.at(i) + "\nendobj\n";
    }
    const int xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (int offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(objects.size() + 1) + " /Root 1 0 R >>\nstartxref\n"
        + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

void pdfSeeds()
{
    put("pdf", "plain-portrait", plainPdf("0 0 200 280", "BT /F1 12 Tf 20 240 Td (Fax cover) Tj ET 10 10 m 190 270 l S"));
    put("pdf", "plain-landscape", plainPdf("0 0 280 200", "0.5 g 20 20 100 60 re f"));

    const QString path = g_root + QStringLiteral("/written.pdf");
    {
        QPdfWriter writer(path);
        writer.setPageSize(QPageSize(QSizeF(80, 100), QPageSize::Millimeter));
        writer.setResolution(72);
        QPainter painter(&writer);
        painter.drawText(QRectF(10, 10, 200, 40), QStringLiteral("传真 Fax"));
        painter.drawEllipse(QRectF(20, 60, 100, 80));
        writer.newPage();
        painter.drawImage(QPointF(10, 10), page(60, 30, QStringLiteral("img")));
    }
    put("pdf", "qt-two-pages", readFile(path));
    QFile::remove(path);
}

} // namespace

// The offscreen platform keeps its screen to the end of the process; that is no leak of ours.
extern "C" const char* __asan_default_options()
{
    return "detect_leaks=0";
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <folder>\n", argv[0]);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QGuiApplication app(argc, argv); // text on the pages needs the font database
    g_root = QString::fromLocal8Bit(argv[1]);
    getValueSeeds();
    recordSeeds();
    iniSeeds();
    csvSeeds();
    discoverySeeds();
    tiffSeeds();
    pdfSeeds();
    return 0;
}
