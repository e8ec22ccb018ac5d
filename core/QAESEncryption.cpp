#include "QAESEncryption.h"

#include <cstring>

namespace {

using Block = quint8[QAESEncryption::BLOCK_LEN];

// FIPS-197 S-box and its inverse.
// clang-format off
const quint8 SBOX[256] = {
    0x63, 0x7c, 0x77, 0x7b, 0xf2, 0x6b, 0x6f, 0xc5, 0x30, 0x01, 0x67, 0x2b, 0xfe, 0xd7, 0xab, 0x76,
    0xca, 0x82, 0xc9, 0x7d, 0xfa, 0x59, 0x47, 0xf0, 0xad, 0xd4, 0xa2, 0xaf, 0x9c, 0xa4, 0x72, 0xc0,
    0xb7, 0xfd, 0x93, 0x26, 0x36, 0x3f, 0xf7, 0xcc, 0x34, 0xa5, 0xe5, 0xf1, 0x71, 0xd8, 0x31, 0x15,
    0x04, 0xc7, 0x23, 0xc3, 0x18, 0x96, 0x05, 0x9a, 0x07, 0x12, 0x80, 0xe2, 0xeb, 0x27, 0xb2, 0x75,
    0x09, 0x83, 0x2c, 0x1a, 0x1b, 0x6e, 0x5a, 0xa0, 0x52, 0x3b, 0xd6, 0xb3, 0x29, 0xe3, 0x2f, 0x84,
    0x53, 0xd1, 0x00, 0xed, 0x20, 0xfc, 0xb1, 0x5b, 0x6a, 0xcb, 0xbe, 0x39, 0x4a, 0x4c, 0x58, 0xcf,
    0xd0, 0xef, 0xaa, 0xfb, 0x43, 0x4d, 0x33, 0x85, 0x45, 0xf9, 0x02, 0x7f, 0x50, 0x3c, 0x9f, 0xa8,
    0x51, 0xa3, 0x40, 0x8f, 0x92, 0x9d, 0x38, 0xf5, 0xbc, 0xb6, 0xda, 0x21, 0x10, 0xff, 0xf3, 0xd2,
    0xcd, 0x0c, 0x13, 0xec, 0x5f, 0x97, 0x44, 0x17, 0xc4, 0xa7, 0x7e, 0x3d, 0x64, 0x5d, 0x19, 0x73,
    0x60, 0x81, 0x4f, 0xdc, 0x22, 0x2a, 0x90, 0x88, 0x46, 0xee, 0xb8, 0x14, 0xde, 0x5e, 0x0b, 0xdb,
    0xe0, 0x32, 0x3a, 0x0a, 0x49, 0x06, 0x24, 0x5c, 0xc2, 0xd3, 0xac, 0x62, 0x91, 0x95, 0xe4, 0x79,
    0xe7, 0xc8, 0x37, 0x6d, 0x8d, 0xd5, 0x4e, 0xa9, 0x6c, 0x56, 0xf4, 0xea, 0x65, 0x7a, 0xae, 0x08,
    0xba, 0x78, 0x25, 0x2e, 0x1c, 0xa6, 0xb4, 0xc6, 0xe8, 0xdd, 0x74, 0x1f, 0x4b, 0xbd, 0x8b, 0x8a,
    0x70, 0x3e, 0xb5, 0x66, 0x48, 0x03, 0xf6, 0x0e, 0x61, 0x35, 0x57, 0xb9, 0x86, 0xc1, 0x1d, 0x9e,
    0xe1, 0xf8, 0x98, 0x11, 0x69, 0xd9, 0x8e, 0x94, 0x9b, 0x1e, 0x87, 0xe9, 0xce, 0x55, 0x28, 0xdf,
    0x8c, 0xa1, 0x89, 0x0d, 0xbf, 0xe6, 0x42, 0x68, 0x41, 0x99, 0x2d, 0x0f, 0xb0, 0x54, 0xbb, 0x16,
};
// clang-format on

// clang-format off
const quint8 INV_SBOX[256] = {
    0x52, 0x09, 0x6a, 0xd5, 0x30, 0x36, 0xa5, 0x38, 0xbf, 0x40, 0xa3, 0x9e, 0x81, 0xf3, 0xd7, 0xfb,
    0x7c, 0xe3, 0x39, 0x82, 0x9b, 0x2f, 0xff, 0x87, 0x34, 0x8e, 0x43, 0x44, 0xc4, 0xde, 0xe9, 0xcb,
    0x54, 0x7b, 0x94, 0x32, 0xa6, 0xc2, 0x23, 0x3d, 0xee, 0x4c, 0x95, 0x0b, 0x42, 0xfa, 0xc3, 0x4e,
    0x08, 0x2e, 0xa1, 0x66, 0x28, 0xd9, 0x24, 0xb2, 0x76, 0x5b, 0xa2, 0x49, 0x6d, 0x8b, 0xd1, 0x25,
    0x72, 0xf8, 0xf6, 0x64, 0x86, 0x68, 0x98, 0x16, 0xd4, 0xa4, 0x5c, 0xcc, 0x5d, 0x65, 0xb6, 0x92,
    0x6c, 0x70, 0x48, 0x50, 0xfd, 0xed, 0xb9, 0xda, 0x5e, 0x15, 0x46, 0x57, 0xa7, 0x8d, 0x9d, 0x84,
    0x90, 0xd8, 0xab, 0x00, 0x8c, 0xbc, 0xd3, 0x0a, 0xf7, 0xe4, 0x58, 0x05, 0xb8, 0xb3, 0x45, 0x06,
    0xd0, 0x2c, 0x1e, 0x8f, 0xca, 0x3f, 0x0f, 0x02, 0xc1, 0xaf, 0xbd, 0x03, 0x01, 0x13, 0x8a, 0x6b,
    0x3a, 0x91, 0x11, 0x41, 0x4f, 0x67, 0xdc, 0xea, 0x97, 0xf2, 0xcf, 0xce, 0xf0, 0xb4, 0xe6, 0x73,
    0x96, 0xac, 0x74, 0x22, 0xe7, 0xad, 0x35, 0x85, 0xe2, 0xf9, 0x37, 0xe8, 0x1c, 0x75, 0xdf, 0x6e,
    0x47, 0xf1, 0x1a, 0x71, 0x1d, 0x29, 0xc5, 0x89, 0x6f, 0xb7, 0x62, 0x0e, 0xaa, 0x18, 0xbe, 0x1b,
    0xfc, 0x56, 0x3e, 0x4b, 0xc6, 0xd2, 0x79, 0x20, 0x9a, 0xdb, 0xc0, 0xfe, 0x78, 0xcd, 0x5a, 0xf4,
    0x1f, 0xdd, 0xa8, 0x33, 0x88, 0x07, 0xc7, 0x31, 0xb1, 0x12, 0x10, 0x59, 0x27, 0x80, 0xec, 0x5f,
    0x60, 0x51, 0x7f, 0xa9, 0x19, 0xb5, 0x4a, 0x0d, 0x2d, 0xe5, 0x7a, 0x9f, 0x93, 0xc9, 0x9c, 0xef,
    0xa0, 0xe0, 0x3b, 0x4d, 0xae, 0x2a, 0xf5, 0xb0, 0xc8, 0xeb, 0xbb, 0x3c, 0x83, 0x53, 0x99, 0x61,
    0x17, 0x2b, 0x04, 0x7e, 0xba, 0x77, 0xd6, 0x26, 0xe1, 0x69, 0x14, 0x63, 0x55, 0x21, 0x0c, 0x7d,
};
// clang-format on

// Round constants of the key schedule (first byte of each word; enough for AES-128's ten).
const quint8 RCON[11] = { 0x00, 0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1b, 0x36 };

quint8 xtime(quint8 x)
{
    return quint8((x << 1) ^ ((x & 0x80) ? 0x1b : 0x00));
}

quint8 gmul(quint8 a, quint8 b)
{
    quint8 result = 0;
    while (b) {
        if (b & 1)
            result ^= a;
        a = xtime(a);
        b >>= 1;
    }
    return result;
}

void addRoundKey(quint8* state, const quint8* roundKey)
{
    for (int i = 0; i < 16; ++i)
        state[i] ^= roundKey[i];
}

// The state is kept column by column, as the bytes of the block: state[4 * column + row].
void shiftRows(quint8* s)
{
    quint8 t[16];
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            t[4 * c + r] = s[4 * ((c + r) % 4) + r];
    std::memcpy(s, t, 16);
}

void invShiftRows(quint8* s)
{
    quint8 t[16];
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            t[4 * ((c + r) % 4) + r] = s[4 * c + r];
    std::memcpy(s, t, 16);
}

void mixColumns(quint8* s)
{
    for (int c = 0; c < 4; ++c) {
        quint8* col = s + 4 * c;
        const quint8 a0 = col[0], a1 = col[1], a2 = col[2], a3 = col[3];
        const quint8 all = a0 ^ a1 ^ a2 ^ a3;
        col[0] = quint8(a0 ^ all ^ xtime(a0 ^ a1));
        col[1] = quint8(a1 ^ all ^ xtime(a1 ^ a2));
        col[2] = quint8(a2 ^ all ^ xtime(a2 ^ a3));
        col[3] = quint8(a3 ^ all ^ xtime(a3 ^ a0));
    }
}

void invMixColumns(quint8* s)
{
    for (int c = 0; c < 4; ++c) {
        quint8* col = s + 4 * c;
        const quint8 a0 = col[0], a1 = col[1], a2 = col[2], a3 = col[3];
        col[0] = gmul(a0, 14) ^ gmul(a1, 11) ^ gmul(a2, 13) ^ gmul(a3, 9);
        col[1] = gmul(a0, 9) ^ gmul(a1, 14) ^ gmul(a2, 11) ^ gmul(a3, 13);
        col[2] = gmul(a0, 13) ^ gmul(a1, 9) ^ gmul(a2, 14) ^ gmul(a3, 11);
        col[3] = gmul(a0, 11) ^ gmul(a1, 13) ^ gmul(a2, 9) ^ gmul(a3, 14);
    }
}

void encryptBlock(const quint8* in, quint8* out, const quint8* roundKeys, int rounds)
{
    quint8 s[16];
    std::memcpy(s, in, 16);
    addRoundKey(s, roundKeys);
    for (int round = 1; round <= rounds; ++round) {
        for (quint8& b : s)
            b = SBOX[b];
        shiftRows(s);
        if (round != rounds)
            mixColumns(s);
        addRoundKey(s, roundKeys + 16 * round);
    }
    std::memcpy(out, s, 16);
}

void decryptBlock(const quint8* in, quint8* out, const quint8* roundKeys, int rounds)
{
    quint8 s[16];
    std::memcpy(s, in, 16);
    addRoundKey(s, roundKeys + 16 * rounds);
    for (int round = rounds - 1; round >= 0; --round) {
        invShiftRows(s);
        for (quint8& b : s)
            b = INV_SBOX[b];
        addRoundKey(s, roundKeys + 16 * round);
        if (round != 0)
            invMixColumns(s);
    }
    std::memcpy(out, s, 16);
}

// Runs the mode over the data. ECB and CBC take whole blocks only; CFB and OFB use as much of
// the last key stream block as the data needs.
QByteArray process(QAESEncryption::Aes level, QAESEncryption::Mode mode, const QByteArray& data, const QByteArray& key,
    const QByteArray& iv, bool encrypt)
{
    const int blockLen = QAESEncryption::BLOCK_LEN;
    if (mode != QAESEncryption::ECB && iv.size() != blockLen)
        return QByteArray();
    const QByteArray roundKeyBytes = QAESEncryption::ExpandKey(level, key);
    if (roundKeyBytes.isEmpty())
        return QByteArray();
    const auto* roundKeys = reinterpret_cast<const quint8*>(roundKeyBytes.constData());
    const int rounds = QAESEncryption::rounds(level);

    const bool streamMode = mode == QAESEncryption::CFB || mode == QAESEncryption::OFB;
    const int length = streamMode ? data.size() : data.size() - data.size() % blockLen;
    QByteArray result(length, Qt::Uninitialized);
    const auto* in = reinterpret_cast<const quint8*>(data.constData());
    auto* out = reinterpret_cast<quint8*>(result.data());

    // The chaining block: the previous cipher block (CBC, CFB) or key stream block (OFB).
    Block chain = {};
    if (mode != QAESEncryption::ECB)
        std::memcpy(chain, iv.constData(), blockLen);
    Block work;

    for (int offset = 0; offset < length; offset += blockLen) {
        const quint8* src = in + offset;
        quint8* dst = out + offset;
        const int n = qMin(blockLen, length - offset);
        switch (mode) {
        case QAESEncryption::ECB:
            if (encrypt)
                encryptBlock(src, dst, roundKeys, rounds);
            else
                decryptBlock(src, dst, roundKeys, rounds);
            break;
        case QAESEncryption::CBC:
            if (encrypt) {
                for (int i = 0; i < blockLen; ++i)
                    work[i] = src[i] ^ chain[i];
                encryptBlock(work, dst, roundKeys, rounds);
                std::memcpy(chain, dst, blockLen);
            } else {
                decryptBlock(src, work, roundKeys, rounds);
                for (int i = 0; i < blockLen; ++i)
                    work[i] ^= chain[i];
                std::memcpy(chain, src, blockLen);
                std::memcpy(dst, work, blockLen);
            }
            break;
        case QAESEncryption::CFB:
            encryptBlock(chain, work, roundKeys, rounds);
            // The next segment's input is the cipher text, whichever way we go.
            if (!encrypt)
                std::memcpy(chain, src, n);
            for (int i = 0; i < n; ++i)
                dst[i] = src[i] ^ work[i];
            if (encrypt)
                std::memcpy(chain, dst, n);
            break;
        case QAESEncryption::OFB:
            encryptBlock(chain, chain, roundKeys, rounds);
            for (int i = 0; i < n; ++i)
                dst[i] = src[i] ^ chain[i];
            break;
        }
    }
    return result;
}

} // namespace

QAESEncryption::QAESEncryption(Aes level, Mode mode, Padding padding, QObject* parent)
    : QObject(parent)
    , m_level(level)
    , m_mode(mode)
    , m_padding(padding)
{ }

QByteArray QAESEncryption::encode(const QByteArray& rawText, const QByteArray& key, const QByteArray& iv) const
{
    return Crypt(m_level, m_mode, rawText, key, iv, m_padding);
}

QByteArray QAESEncryption::decode(const QByteArray& rawText, const QByteArray& key, const QByteArray& iv) const
{
    return Decrypt(m_level, m_mode, rawText, key, iv, m_padding);
}

QByteArray QAESEncryption::removePadding(const QByteArray& rawText) const
{
    return RemovePadding(rawText, m_padding);
}

QByteArray QAESEncryption::expandKey(const QByteArray& key) const
{
    return ExpandKey(m_level, key);
}

int QAESEncryption::keyLength(Aes level)
{
    switch (level) {
    case AES_128:
        return 16;
    case AES_192:
        return 24;
    case AES_256:
        return 32;
    }
    return 0;
}

int QAESEncryption::rounds(Aes level)
{
    return keyLength(level) / 4 + 6;
}

QByteArray QAESEncryption::paddingFor(int length, Padding padding)
{
    const int rest = length % BLOCK_LEN;
    switch (padding) {
    case ZERO:
        return rest ? QByteArray(BLOCK_LEN - rest, '\0') : QByteArray();
    case PKCS7:
        return QByteArray(BLOCK_LEN - rest, char(BLOCK_LEN - rest));
    case ISO:
        if (!rest)
            return QByteArray();
        return QByteArray(1, char(0x80)) + QByteArray(BLOCK_LEN - rest - 1, '\0');
    }
    return QByteArray();
}

QByteArray QAESEncryption::Crypt(
    Aes level, Mode mode, const QByteArray& rawText, const QByteArray& key, const QByteArray& iv, Padding padding)
{
    return process(level, mode, rawText + paddingFor(rawText.size(), padding), key, iv, true);
}

QByteArray QAESEncryption::Decrypt(
    Aes level, Mode mode, const QByteArray& rawText, const QByteArray& key, const QByteArray& iv, Padding padding)
{
    Q_UNUSED(padding) // the caller removes it when it wants to
    return process(level, mode, rawText, key, iv, false);
}

QByteArray QAESEncryption::RemovePadding(const QByteArray& rawText, Padding padding)
{
    QByteArray result = rawText;
    if (result.isEmpty())
        return result;
    switch (padding) {
    case ZERO:
        while (!result.isEmpty() && result.endsWith('\0'))
            result.chop(1);
        break;
    case PKCS7:
        result.chop(quint8(result.back()));
        break;
    case ISO: {
        int end = result.size() - 1;
        while (end >= 0 && result.at(end) == '\0')
            --end;
        if (end >= 0 && quint8(result.at(end)) == 0x80)
            result.truncate(end);
        break;
    }
    }
    return result;
}

QByteArray QAESEncryption::ExpandKey(Aes level, const QByteArray& key)
{
    const int keyLen = keyLength(level);
    if (key.size() != keyLen)
        return QByteArray();
    const int nk = keyLen / 4;
    const int totalWords = 4 * (rounds(level) + 1);
    QByteArray expanded(4 * totalWords, Qt::Uninitialized);
    auto* w = reinterpret_cast<quint8*>(expanded.data());
    std::memcpy(w, key.constData(), keyLen);

    for (int i = nk; i < totalWords; ++i) {
        quint8 temp[4];
        std::memcpy(temp, w + 4 * (i - 1), 4);
        if (i % nk == 0) {
            // RotWord, SubWord, then the round constant.
            const quint8 first = temp[0];
            temp[0] = SBOX[temp[1]] ^ RCON[i / nk];
            temp[1] = SBOX[temp[2]];
            temp[2] = SBOX[temp[3]];
            temp[3] = SBOX[first];
        } else if (nk > 6 && i % nk == 4) {
            for (quint8& b : temp)
                b = SBOX[b];
        }
        for (int j = 0; j < 4; ++j)
            w[4 * i + j] = w[4 * (i - nk) + j] ^ temp[j];
    }
    return expanded;
}
