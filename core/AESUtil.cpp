#include "AESUtil.h"

#include "QAESEncryption.h"

#include <QCryptographicHash>

namespace {
const char PASS_PHRASE[] = "Qorvim";
const char IV_DIGITS[] = "7394018265539172";
} // namespace

QByteArray AESUtil::key()
{
    return QCryptographicHash::hash(QString::fromLatin1(PASS_PHRASE).toLocal8Bit(), QCryptographicHash::Sha256);
}

QByteArray AESUtil::iv()
{
    return QCryptographicHash::hash(QString::fromLatin1(IV_DIGITS).toLocal8Bit(), QCryptographicHash::Md5);
}

QByteArray AESUtil::encode(QString& text)
{
    QAESEncryption encryption(QAESEncryption::AES_256, QAESEncryption::ECB, QAESEncryption::ISO);
    return encryption.encode(text.toLocal8Bit(), key(), iv());
}

QString AESUtil::decode(QByteArray& data)
{
    QAESEncryption encryption(QAESEncryption::AES_256, QAESEncryption::ECB, QAESEncryption::ISO);
    const QByteArray plain = encryption.removePadding(encryption.decode(data, key(), iv()));
    const int nul = plain.indexOf('\0');
    return QString::fromLatin1(plain.constData(), nul < 0 ? plain.size() : nul);
}
