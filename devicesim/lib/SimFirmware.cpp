#include "SimFirmware.h"

#include "SimRecord.h"

namespace SimFirmware {

QByteArray convertBlock(const QByteArray& block)
{
    QByteArray out = block;
    const int words = block.size() / 4;
    for (int w = 0; w < words; ++w)
        for (int i = 0; i < 4; ++i)
            out[4 * w + i] = char(~uchar(block[4 * w + 3 - i]));
    return out;
}

QByteArray buildFile(const QByteArray& osImage, const QByteArray& swImage)
{
    QByteArray file(4, '\0');
    SimRecord::writeU32(file, 0, quint32(osImage.size()));
    return file + osImage + swImage;
}

bool splitFile(const QByteArray& file, QByteArray* osImage, QByteArray* swImage)
{
    if (file.size() < 4)
        return false;
    const quint32 length = SimRecord::readU32(file, 0);
    if (qint64(length) > file.size() - 4)
        return false;
    *osImage = file.mid(4, int(length));
    *swImage = file.mid(4 + int(length));
    return true;
}

qint64 stageBlockSize(qint64 remaining, int bufSize)
{
    return remaining >= 2 * qint64(bufSize) ? bufSize : remaining;
}

} // namespace SimFirmware
