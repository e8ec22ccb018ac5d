#include "IniUtil.h"
#include "TestSupport.h"
#include "WireCodec.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

namespace {

void writeUtf16(const QString& path, const QString& text, bool withMark)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(withMark ? WireCodec::encodeWithBom(text) : WireCodec::encode(text));
}

} // namespace

class TestIniUtil : public QObject
{
    Q_OBJECT

private slots:
    void init() { IniUtil::clear(); }

    void readsTheGrammarLineByLine()
    {
        IniUtil::parse(QStringLiteral("orphan=1\r\n"
                                      "[FAXOPTIONS]\r\n"
                                      "ServerName=Front desk\r\n"
                                      "\r\n"
                                      "; a comment without an equals sign\n"
                                      "; note=kept as an entry\n"
                                      " Spaced = a = b \n"
                                      "[NETWORK]\n"
                                      "HttpPort=80\n"));
        QCOMPARE(IniUtil::getValue(QString(), QStringLiteral("orphan")), QStringLiteral("1"));
        QCOMPARE(IniUtil::getValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName")), QStringLiteral("Front desk"));
        // Nothing is trimmed and only the first "=" splits.
        QCOMPARE(IniUtil::getValue(QStringLiteral("FAXOPTIONS"), QStringLiteral(" Spaced ")), QStringLiteral(" a = b "));
        QCOMPARE(IniUtil::getValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("; note")), QStringLiteral("kept as an entry"));
        QCOMPARE(IniUtil::getValue(QStringLiteral("NETWORK"), QStringLiteral("HttpPort")), QStringLiteral("80"));
        QVERIFY(!IniUtil::writeIni(QString()).contains(QStringLiteral("a comment")));
    }

    void bracketAnywhereMakesASectionLine()
    {
        IniUtil::parse(QStringLiteral("[A]\nPath=C:[x]\nKey=1\n"));
        // "Path=C:[x]" names a section: what follows "[" for the line's length less two.
        QVERIFY(IniUtil::getValue(QStringLiteral("A"), QStringLiteral("Path")).isEmpty());
        QCOMPARE(IniUtil::getValue(QStringLiteral("x]"), QStringLiteral("Key")), QStringLiteral("1"));
    }

    void sectionNamedAgainStartsEmpty()
    {
        IniUtil::parse(QStringLiteral("[A]\nold=1\n[B]\nb=2\n[A]\nnew=3\n"));
        QVERIFY(IniUtil::getValue(QStringLiteral("A"), QStringLiteral("old")).isEmpty());
        QCOMPARE(IniUtil::getValue(QStringLiteral("A"), QStringLiteral("new")), QStringLiteral("3"));
        // A later file keeps sections it does not name.
        IniUtil::parse(QStringLiteral("[A]\nother=4\n"));
        QCOMPARE(IniUtil::getValue(QStringLiteral("B"), QStringLiteral("b")), QStringLiteral("2"));
        QVERIFY(IniUtil::getValue(QStringLiteral("A"), QStringLiteral("new")).isEmpty());
    }

    void writesReversedWithLineFeeds()
    {
        IniUtil::parse(QStringLiteral("[A]\r\na1=x\r\na2=y\r\n[B]\r\nb1=z\r\n"));
        QCOMPARE(IniUtil::writeIni(QString()), QStringLiteral("\n[B]\nb1=z\n\n[A]\na2=y\na1=x\n"));
    }

    void setValueMakesAMissingSection()
    {
        IniUtil::parse(QStringLiteral("[A]\nk=v\n"));
        IniUtil::setValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName"), QStringLiteral("新名称"));
        IniUtil::setValue(QStringLiteral("A"), QStringLiteral("k"), QStringLiteral("w"));
        QCOMPARE(IniUtil::writeIni(QString()), QStringLiteral("\n[FAXOPTIONS]\nServerName=新名称\n\n[A]\nk=w\n"));
    }

    void fileRoundTripIsUtf16WithoutMark()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("SvrAdvParam.cfg"));
        writeUtf16(path, QStringLiteral("[FAXOPTIONS]\r\nServerName=前台\r\nMaxRetry=3\r\n\r\n[NETWORK]\r\nHttpPort=80\r\n"), true);
        IniUtil::openIni(path);
        QCOMPARE(IniUtil::getValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName")), QStringLiteral("前台"));

        const QString text = IniUtil::writeIni(path);
        QCOMPARE(text, QStringLiteral("\n[NETWORK]\nHttpPort=80\n\n[FAXOPTIONS]\nServerName=前台\nMaxRetry=3\n"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QCOMPARE(bytes, WireCodec::encode(text));
        QVERIFY(!bytes.startsWith("\xFF\xFE"));
    }

    void unreadableFileChangesNothing()
    {
        IniUtil::parse(QStringLiteral("[A]\nk=v\n"));
        IniUtil::openIni(QStringLiteral("/nonexistent/SvrAdvParam.cfg"));
        QCOMPARE(IniUtil::writeIni(QString()), QStringLiteral("\n[A]\nk=v\n"));
    }
};

VELKOR_TEST_MAIN(TestIniUtil)
#include "TestIniUtil.moc"
