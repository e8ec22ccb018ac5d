// StringUtil::getValue on whatever a device may send. Input: a reply as it comes off the
// socket (UTF-16LE); its first unit, modulo 24, is the length of a tag taken from the units
// after it, and the rest is the message. Every reply tag the client reads is asked as well.
#include "FuzzSupport.h"
#include "StringUtil.h"
#include "WireCodec.h"

#include <QStringList>

namespace {

// What a case-blind search for the first open and the first close mark gives.
QString expected(const QString& text, const QString& tag)
{
    const QString open = QLatin1Char('<') + tag + QLatin1Char('>');
    const QString close = QStringLiteral("</") + tag + QLatin1Char('>');
    const int start = text.indexOf(open, 0, Qt::CaseInsensitive);
    const int end = text.indexOf(close, 0, Qt::CaseInsensitive);
    if (start < 0 || end < 0 || end < start + open.size())
        return QString();
    return text.mid(start + open.size(), end - start - open.size());
}

void probe(const QString& text, const QString& tag)
{
    const QString value = StringUtil::getValue(text, tag);
    FuzzSupport::check(value.isEmpty() || text.contains(value), "the value is a stretch of the message");
    // Tags are ASCII on the wire; for them the lower-case search is the case-blind one.
    bool ascii = true;
    for (const QChar c : tag)
        ascii = ascii && c.unicode() < 0x80;
    if (ascii)
        FuzzSupport::check(value == expected(text, tag), "the value lies between the first marks");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::quiet();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString reply = WireCodec::decode(FuzzSupport::bytes(data, size));
    static const QStringList tags = {
        QStringLiteral("FEEDBACK"), QStringLiteral("LOGIN_STATE"), QStringLiteral("SERVER_ID"),
        QStringLiteral("VERIFY_STRING"), QStringLiteral("COUNT"), QStringLiteral("TASK"), QStringLiteral("TASKID"),
        QStringLiteral("FILE_LEN"), QStringLiteral("AMOUNT"), QStringLiteral("TIME"), QStringLiteral("SVRID"),
    };
    for (const QString& tag : tags)
        probe(reply, tag);

    if (!reply.isEmpty()) {
        const int tagLength = reply.at(0).unicode() % 24;
        probe(reply.mid(1 + tagLength), reply.mid(1, tagLength));
    }
    return 0;
}
