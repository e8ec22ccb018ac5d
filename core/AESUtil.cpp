#include "AESUtil.h"

#include "QAESEncryption.h"

#include <QCryptographicHash>
#include <QTextCodec>

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
    QByteArray bytes = text.toUtf8();
    // Whole blocks get no padding, so a last byte 0x80 would be read back as the padding's
    // marker: such a text gets a block of padding of its own.
    if (bytes.size() % 16 == 0 && bytes.endsWith('\x80'))
        bytes.append('\x80').append(QByteArray(15, '\0'));
    return encryption.encode(bytes, key(), iv());
}

QString AESUtil::decode(QByteArray& data)
{
    QAESEncryption encryption(QAESEncryption::AES_256, QAESEncryption::ECB, QAESEncryption::ISO);
    const QByteArray plain = encryption.removePadding(encryption.decode(data, key(), iv()));
    const int nul = plain.indexOf('\0');
    const int size = nul < 0 ? plain.size() : nul;
    QTextCodec::ConverterState state;
    const QString text = QTextCodec::codecForName("UTF-8")->toUnicode(plain.constData(), size, &state);
    return state.invalidChars == 0 ? text : QString::fromLatin1(plain.constData(), size);
}
