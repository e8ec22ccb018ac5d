#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// The device's side of the message syntax: UTF-16LE text made of <TAG>value</TAG> runs,
// nothing escaped, no framing. Written here on purpose instead of shared with the client.
namespace SimWire {

// UTF-16LE code units, no byte-order mark.
QByteArray encode(const QString& text);
// UTF-16LE bytes to text. A leading byte-order mark is dropped, an odd last byte ignored.
QString decode(const QByteArray& bytes);
// The text up to its first 0 unit.
QString uptoNul(const QString& text);

// The value between the first "<tag>" and the first "</tag>" (tag without regard to case),
// or an empty string when either mark is missing.
QString value(const QString& text, const QString& tag);
bool has(const QString& text, const QString& tag);
// "<NAME>value</NAME>".
QString tag(const QString& name, const QString& value);
QString tag(const QString& name, qint64 value);
// The text with the first value of a tag replaced (or the tag appended when it is missing).
QString withValue(const QString& text, const QString& tag, const QString& value);

// Splits what arrived on a connection into requests, each starting at an "<ACTION>" mark.
// Text before the first mark stays a piece of its own.
QStringList splitRequests(const QString& text);

} // namespace SimWire
