#include "WireCodec.h"

#include <QTextCodec>
#include <memory>

QByteArray WireCodec::encodeWithBom(const QString& text)
{
    QTextCodec* codec = QTextCodec::codecForName("UTF-16LE");
    QTextCodec::ConverterState state; // a fresh state writes the mark
    return codec->fromUnicode(text.constData(), text.size(), &state);
}

QByteArray WireCodec::encode(const QString& text)
{
    QTextCodec* codec = QTextCodec::codecForName("UTF-16LE");
    std::unique_ptr<QTextEncoder> encoder(codec->makeEncoder(QTextCodec::IgnoreHeader));
    return encoder->fromUnicode(text);
}

QString WireCodec::decode(const QByteArray& bytes)
{
    return QTextCodec::codecForMib(1014)->toUnicode(bytes);
}
