#pragma once

#include <QByteArray>
#include <QString>

// The device's password digests: MD5 whose four chaining words start at the usual constants
// plus a multiple of an index (A +index*11, B +index*71, C +index*37, D +index*97).
namespace SimDigest {

// Lower-case hex digest of the bytes with the start values of that index (0 is plain MD5).
QString seededMd5(const QByteArray& bytes, int index);
// The stored form of a password: the digests of index 0 to 3 of its UTF-8 bytes, joined
// (128 hex characters); empty for an empty password.
QString storedForm(const QString& password);
// The proof a client sends at login: digest (index 0) of the challenge followed by the
// stored form; empty when both are empty.
QString loginProof(const QString& challenge, const QString& storedForm);
// True for 128 lower- or upper-case hex characters.
bool looksStored(const QString& text);

} // namespace SimDigest
