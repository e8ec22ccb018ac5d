#pragma once

#include <QByteArray>
#include <QString>

// Hides the remembered login password in "UserConfig.ini": AES-256, ECB, ISO padding, with a
// key and IV derived from phrases built into the program. This keeps the password out of plain
// sight; it is not a protection against anyone who has the program.
class AESUtil
{
public:
    // Enciphers the UTF-8 bytes of the text.
    static QByteArray encode(QString& text);
    // Deciphers, drops the padding and reads the bytes up to the first NUL as UTF-8 (bytes that
    // are no UTF-8, from older files, one character each). Damaged data gives whatever it
    // deciphers to.
    static QString decode(QByteArray& data);

    // SHA-256 of the pass phrase, 32 bytes.
    static QByteArray key();
    // MD5 of the digit string, 16 bytes (ECB ignores it, but it is passed all the same).
    static QByteArray iv();
};
