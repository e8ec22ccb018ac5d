#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>

// MD5 with a seeded start, as the device expects for its passwords. Index 0 is plain MD5;
// indexes 1 to 3 add index * 11, 71, 37 and 97 to the four starting words.
//
// The char* forms hash the bytes up to the first NUL and return lower-case hexadecimal in a
// zero-filled buffer of RESULT_SIZE bytes. Each of the two functions has its own buffer per
// thread: the pointer stays valid, and owned by MD5Util, until the same function is next called
// on the same thread. Copy the text if it must live longer. A null or empty input gives "".
class MD5Util
{
public:
    static constexpr int RESULT_SIZE = 2048;

    struct MD5Context
    {
        quint32 state[4];
        quint64 bitCount;
        unsigned char buffer[64];
    };

    static void MD5Init(MD5Context* context, unsigned int index);
    static void MD5Update(MD5Context* context, const unsigned char* input, std::size_t length);
    static void MD5Final(unsigned char digest[16], MD5Context* context);

    // One digest of index 0: 32 characters.
    static char* callMD5(char* text);
    // Digests of indexes 0, 1, 2 and 3 joined: 128 characters. This is the stored form of a
    // device password.
    static char* call128MD5(char* text);

    // The same, for byte arrays (still read up to the first NUL), returning a copy.
    static QString callMD5(const QByteArray& text);
    static QString call128MD5(const QByteArray& text);
};
