#pragma once

#include <QByteArray>
#include <QObject>

// AES (128, 192 and 256-bit keys) in ECB, CBC, CFB and OFB with zero, PKCS#7 or ISO/IEC 7816-4
// padding. CFB and OFB run on full 128-bit segments.
//
// encode pads, then ciphers; decode deciphers and leaves the padding in place (removePadding drops
// it). A key that is not exactly the level's length, or an IV that is not 16 bytes in any mode
// but ECB, yields an empty result. ECB and CBC decipher whole blocks only; CFB and OFB also take a
// short last block, as a stream cipher does.
class QAESEncryption : public QObject
{
    Q_OBJECT
public:
    enum Aes { AES_128 = 0, AES_192 = 1, AES_256 = 2 };
    Q_ENUM(Aes)
    enum Mode { ECB = 0, CBC = 1, CFB = 2, OFB = 3 };
    Q_ENUM(Mode)
    enum Padding { ZERO = 0, PKCS7 = 1, ISO = 2 };
    Q_ENUM(Padding)

    static constexpr int BLOCK_LEN = 16;

    QAESEncryption(Aes level, Mode mode, Padding padding = ISO, QObject* parent = nullptr);

    QByteArray encode(const QByteArray& rawText, const QByteArray& key, const QByteArray& iv = QByteArray()) const;
    QByteArray decode(const QByteArray& rawText, const QByteArray& key, const QByteArray& iv = QByteArray()) const;
    QByteArray removePadding(const QByteArray& rawText) const;
    QByteArray expandKey(const QByteArray& key) const;

    static QByteArray Crypt(Aes level, Mode mode, const QByteArray& rawText, const QByteArray& key,
        const QByteArray& iv = QByteArray(), Padding padding = ISO);
    static QByteArray Decrypt(Aes level, Mode mode, const QByteArray& rawText, const QByteArray& key,
        const QByteArray& iv = QByteArray(), Padding padding = ISO);
    static QByteArray RemovePadding(const QByteArray& rawText, Padding padding = ISO);
    // The round keys, (rounds + 1) * 16 bytes; empty for a key of the wrong length.
    static QByteArray ExpandKey(Aes level, const QByteArray& key);

    // The bytes encode appends to data of the given length.
    static QByteArray paddingFor(int length, Padding padding);
    static int keyLength(Aes level);
    static int rounds(Aes level);

private:
    Aes m_level;
    Mode m_mode;
    Padding m_padding;
};
