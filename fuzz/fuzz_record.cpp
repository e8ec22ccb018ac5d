// The device's 1024-byte fax record: the reply to a status query (single form) and the
// records of the queue and history lists (list form). Input: the bytes the device sends; the
// whole input is one record, and its 1024-byte pieces are the records of a list.
#include "FaxRecordUtil.h"
#include "FuzzSupport.h"

namespace {

void readList(const QByteArray& bytes)
{
    for (int at = 0; at < bytes.size(); at += FaxRecordUtil::SIZE) {
        const QByteArray record = bytes.mid(at, FaxRecordUtil::SIZE);
        Fax fax;
        fax.taskID = -7;
        const bool read = FaxRecordUtil::readListRecord(record, fax);
        FuzzSupport::check(read == (record.size() == FaxRecordUtil::SIZE), "a list record is read when it is whole");
        if (!read) {
            FuzzSupport::check(fax.taskID == -7, "a short list record leaves the fax alone");
            continue;
        }
        FuzzSupport::check(fax.file.size() == 8, "the file number is eight hex digits");
        FuzzSupport::check(fax.receiver.size() <= (FaxRecordUtil::SENDER - FaxRecordUtil::RECEIVER) / 2,
                           "the receiver stays in its field");
        FuzzSupport::check(fax.remark.size() <= (FaxRecordUtil::PAGE_PERCENT - FaxRecordUtil::REMARK) / 2,
                           "the remark stays in its field");
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::quiet();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = FuzzSupport::bytes(data, size);

    Fax fax;
    fax.time = QStringLiteral("kept");
    const bool read = FaxRecordUtil::readStatusRecord(bytes, fax);
    FuzzSupport::check(read == (bytes.size() >= FaxRecordUtil::SIZE), "a status record is read when it is whole");
    if (read) {
        FuzzSupport::check(fax.issue.size() <= FaxRecordUtil::ISSUE_UNITS, "the failure text stays in its field");
        FuzzSupport::check(!fax.time.isEmpty(), "a record without a time keeps the fax's own");
    } else {
        FuzzSupport::check(fax.time == QLatin1String("kept"), "a short status record leaves the fax alone");
    }
    readList(bytes);

    // The text reader stops at the record's end, wherever it starts.
    FuzzSupport::check(FaxRecordUtil::readUnits(bytes, qMax(0, bytes.size() - 6), 64).size() <= 3,
                       "no text past the record");
    return 0;
}
