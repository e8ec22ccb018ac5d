#include "PageFit.h"

#include "AppSettings.h"

#include <QAbstractScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <cmath>

namespace {
const QString KEY_MODE = QStringLiteral("View/pageFit");
}

namespace PageFit {

Mode mode()
{
    return AppSettings::userSetting()->value(KEY_MODE, FIT_PAGE).toInt() == FIT_WIDTH ? FIT_WIDTH : FIT_PAGE;
}

void setMode(Mode mode)
{
    AppSettings::userSetting()->setValue(KEY_MODE, int(mode));
}

QRect centred(const QSize& page, const QRect& area)
{
    if (page.isEmpty() || area.isEmpty())
        return QRect();
    const double scale = std::min(double(area.width()) / page.width(), double(area.height()) / page.height());
    const int width = qMax(1, int(std::lround(page.width() * scale)));
    const int height = qMax(1, int(std::lround(page.height() * scale)));
    return QRect(area.x() + (area.width() - width) / 2, area.y() + (area.height() - height) / 2, width, height);
}

QSize inArea(const QSize& page, const QAbstractScrollArea* area, Mode mode)
{
    // The room without scroll bars; a scroll bar shown for the last page must not shrink the next.
    const QSize room = area->maximumViewportSize();
    if (mode == FIT_PAGE)
        return centred(page, QRect(QPoint(), room)).size();
    if (page.isEmpty() || room.isEmpty())
        return QSize();
    int width = room.width();
    if (double(page.height()) * width / page.width() > room.height())
        width -= area->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, area->verticalScrollBar());
    width = qMax(1, width);
    return QSize(width, qMax(1, int(std::lround(double(page.height()) * width / page.width()))));
}

QImage scaled(const QImage& page, const QSize& size)
{
    const Qt::TransformationMode mode
        = size.width() < page.width() ? Qt::SmoothTransformation : Qt::FastTransformation;
    return page.scaled(size, Qt::KeepAspectRatio, mode);
}

} // namespace PageFit
