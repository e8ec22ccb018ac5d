// The editor's PDF opening: open, count, and render the first pages at a screen's resolution.
#include "FuzzSupport.h"
#include "PdfPageReader.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::quiet();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    PdfPageReader reader;
    if (!reader.open(FuzzSupport::asFile(data, size, ".pdf")))
        return 0;
    const int count = reader.pageCount();
    FuzzSupport::check(count > 0, "an opened file has pages");
    for (int i = 0; i < qMin(count, 2); ++i)
        reader.renderPage(i, 96);
    FuzzSupport::check(reader.renderPage(count, 96).isNull(), "no page past the last");
    return 0;
}
