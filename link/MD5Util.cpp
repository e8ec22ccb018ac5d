#include "MD5Util.h"

#include <cstring>

namespace {

// floor(|sin(i + 1)| * 2^32), the additive constants of the 64 steps.
// clang-format off
const quint32 STEP_CONSTANTS[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee,
    0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be,
    0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa,
    0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed,
    0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c,
    0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05,
    0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039,
    0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1,
    0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};
// clang-format on

// Rotation amounts, four per round.
const int SHIFTS[4][4] = { { 7, 12, 17, 22 }, { 5, 9, 14, 20 }, { 4, 11, 16, 23 }, { 6, 10, 15, 21 } };

quint32 rotateLeft(quint32 x, int n)
{
    return (x << n) | (x >> (32 - n));
}

void transform(quint32 state[4], const unsigned char block[64])
{
    quint32 m[16];
    for (int i = 0; i < 16; ++i)
        m[i] = quint32(block[4 * i]) | quint32(block[4 * i + 1]) << 8 | quint32(block[4 * i + 2]) << 16
            | quint32(block[4 * i + 3]) << 24;

    quint32 a = state[0], b = state[1], c = state[2], d = state[3];
    for (int i = 0; i < 64; ++i) {
        quint32 f;
        int g;
        switch (i / 16) {
        case 0:
            f = (b & c) | (~b & d);
            g = i;
            break;
        case 1:
            f = (d & b) | (~d & c);
            g = (5 * i + 1) % 16;
            break;
        case 2:
            f = b ^ c ^ d;
            g = (3 * i + 5) % 16;
            break;
        default:
            f = c ^ (b | ~d);
            g = (7 * i) % 16;
            break;
        }
        const quint32 sum = a + f + STEP_CONSTANTS[i] + m[g];
        a = d;
        d = c;
        c = b;
        b = b + rotateLeft(sum, SHIFTS[i / 16][i % 4]);
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

// Writes the lower-case hex digest of index over the first length bytes of text to out (33 bytes).
void hexDigest(const char* text, std::size_t length, unsigned int index, char* out)
{
    MD5Util::MD5Context context;
    MD5Util::MD5Init(&context, index);
    MD5Util::MD5Update(&context, reinterpret_cast<const unsigned char*>(text), length);
    unsigned char digest[16];
    MD5Util::MD5Final(digest, &context);
    static const char HEX[] = "0123456789abcdef";
    for (int i = 0; i < 16; ++i) {
        out[2 * i] = HEX[digest[i] >> 4];
        out[2 * i + 1] = HEX[digest[i] & 0x0f];
    }
}

// Fills buffer with the digests of indexes 0 .. count - 1, joined; empty for an empty text.
char* digests(const char* text, int count, char* buffer)
{
    std::memset(buffer, 0, MD5Util::RESULT_SIZE);
    const std::size_t length = text ? std::strlen(text) : 0;
    if (length == 0)
        return buffer;
    for (int index = 0; index < count; ++index)
        hexDigest(text, length, unsigned(index), buffer + 32 * index);
    return buffer;
}

} // namespace

void MD5Util::MD5Init(MD5Context* context, unsigned int index)
{
    // The sums wrap at 32 bits, as the device computes them.
    context->state[0] = quint32(0x67452301u + index * 11u);
    context->state[1] = quint32(0xefcdab89u + index * 71u);
    context->state[2] = quint32(0x98badcfeu + index * 37u);
    context->state[3] = quint32(0x10325476u + index * 97u);
    context->bitCount = 0;
    std::memset(context->buffer, 0, sizeof context->buffer);
}

void MD5Util::MD5Update(MD5Context* context, const unsigned char* input, std::size_t length)
{
    std::size_t used = std::size_t((context->bitCount >> 3) & 63);
    context->bitCount += quint64(length) << 3;
    std::size_t offset = 0;
    if (used) {
        const std::size_t take = qMin<std::size_t>(64 - used, length);
        std::memcpy(context->buffer + used, input, take);
        used += take;
        offset = take;
        if (used < 64)
            return;
        transform(context->state, context->buffer);
    }
    for (; offset + 64 <= length; offset += 64)
        transform(context->state, input + offset);
    std::memcpy(context->buffer, input + offset, length - offset);
}

void MD5Util::MD5Final(unsigned char digest[16], MD5Context* context)
{
    // 0x80, zeros up to 56 bytes mod 64, then the bit length little-endian.
    const quint64 bits = context->bitCount;
    unsigned char lengthBytes[8];
    for (int i = 0; i < 8; ++i)
        lengthBytes[i] = (unsigned char)(bits >> (8 * i));
    const std::size_t used = std::size_t((bits >> 3) & 63);
    const std::size_t padLength = used < 56 ? 56 - used : 120 - used;
    unsigned char padding[64] = { 0x80 };
    MD5Update(context, padding, padLength);
    MD5Update(context, lengthBytes, 8);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            digest[4 * i + j] = (unsigned char)(context->state[i] >> (8 * j));
    std::memset(context, 0, sizeof *context);
}

char* MD5Util::callMD5(char* text)
{
    thread_local char buffer[RESULT_SIZE];
    return digests(text, 1, buffer);
}

char* MD5Util::call128MD5(char* text)
{
    thread_local char buffer[RESULT_SIZE];
    return digests(text, 4, buffer);
}

QString MD5Util::callMD5(const QByteArray& text)
{
    char buffer[RESULT_SIZE];
    return QString::fromLatin1(digests(text.constData(), 1, buffer));
}

QString MD5Util::call128MD5(const QByteArray& text)
{
    char buffer[RESULT_SIZE];
    return QString::fromLatin1(digests(text.constData(), 4, buffer));
}
