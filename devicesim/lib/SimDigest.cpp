// MD5_CTX exposes the chaining words, which is what the seeded variants need; the 3.0 API
// hides them, so the older interface is used on purpose.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "SimDigest.h"

#include <openssl/md5.h>

namespace SimDigest {

QString seededMd5(const QByteArray& bytes, int index)
{
    MD5_CTX ctx;
    MD5_Init(&ctx);
    const quint32 i = quint32(index);
    ctx.A = static_cast<MD5_LONG>(0x67452301u + i * 11u);
    ctx.B = static_cast<MD5_LONG>(0xEFCDAB89u + i * 71u);
    ctx.C = static_cast<MD5_LONG>(0x98BADCFEu + i * 37u);
    ctx.D = static_cast<MD5_LONG>(0x10325476u + i * 97u);
    MD5_Update(&ctx, bytes.constData(), size_t(bytes.size()));
    unsigned char digest[MD5_DIGEST_LENGTH];
    MD5_Final(digest, &ctx);
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(digest), MD5_DIGEST_LENGTH).toHex());
}

QString storedForm(const QString& password)
{
    const QByteArray bytes = password.toUtf8();
    if (bytes.isEmpty())
        return QString();
    QString joined;
    for (int index = 0; index < 4; ++index)
        joined += seededMd5(bytes, index);
    return joined;
}

QString loginProof(const QString& challenge, const QString& stored)
{
    const QByteArray bytes = challenge.toUtf8() + stored.toUtf8();
    return bytes.isEmpty() ? QString() : seededMd5(bytes, 0);
}

bool looksStored(const QString& text)
{
    if (text.size() != 128)
        return false;
    for (const QChar c : text) {
        const bool hex = (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || (c >= QLatin1Char('a') && c <= QLatin1Char('f'))
            || (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
        if (!hex)
            return false;
    }
    return true;
}

} // namespace SimDigest
