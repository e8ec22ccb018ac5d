// TiffUtil's readers on a fax file (a received fax, or any TIFF a user opens): the page count
// and the pages as images.
#include "FuzzSupport.h"
#include "TiffUtil.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::quiet();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString path = FuzzSupport::asFile(data, size, ".tif");
    const int pages = TiffUtil::getTiffPage(path);
    const QList<QImage> images = TiffUtil::tiffToImg(path);
    FuzzSupport::check(pages >= 0, "a page count");
    FuzzSupport::check(images.size() <= pages, "no more images than pages");
    for (const QImage& image : images)
        FuzzSupport::check(!image.isNull(), "a page read is an image");
    return 0;
}
