#pragma once

#include <QByteArray>

// Firmware files and the word conversion that a client applies to each block it sends.
namespace SimFirmware {

// Within the block, every whole 32-bit word gets its bytes reversed and its bits inverted;
// 1 to 3 trailing bytes stay as they are. Doing it twice gives the block back.
QByteArray convertBlock(const QByteArray& block);
// A firmware file: 32-bit little-endian OS image length, the OS image, the SW image.
QByteArray buildFile(const QByteArray& osImage, const QByteArray& swImage);
// The two images of a firmware file; false when the file is too short for its length word.
bool splitFile(const QByteArray& file, QByteArray* osImage, QByteArray* swImage);
// The size of the next block of a stage: the buffer size while at least two buffers remain,
// otherwise all that remains (so a stage's last block is up to 2 * bufSize - 1 bytes).
qint64 stageBlockSize(qint64 remaining, int bufSize);

} // namespace SimFirmware
