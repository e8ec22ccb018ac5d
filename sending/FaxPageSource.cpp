#include "FaxPageSource.h"

#include "ImageUtil.h"
#include "TiffUtil.h"

#include <QTransform>

FaxPageSource FaxPageSource::turned(int turns) const
{
    FaxPageSource next = *this;
    next.quarterTurns = ((quarterTurns + turns) % 4 + 4) % 4;
    return next;
}

QImage FaxPageSource::decode() const
{
    if (isNull())
        return QImage();
    QImage page = TiffUtil::tiffPageToImg(path, index);
    if (page.isNull())
        return page;
    if (!fitAs.isEmpty())
        page = ImageUtil::scaleToFaxSize(page, fitAs);
    // Quarter turns move pixels without resampling, so turning once by n quarters gives the
    // pixels of n single turns.
    if (quarterTurns != 0)
        page = page.transformed(QTransform().rotate(90.0 * quarterTurns), Qt::FastTransformation);
    return page;
}
