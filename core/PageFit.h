#pragma once

#include <QImage>
#include <QRect>
#include <QSize>

class QAbstractScrollArea;

// How a page is shown when it opens: whole, or as wide as the view. The viewer and the preview
// share the choice, and it is remembered between sessions.
namespace PageFit {

enum Mode { FIT_PAGE = 0, FIT_WIDTH = 1 };

Mode mode();
void setMode(Mode mode);

// The largest rectangle of the page's proportions inside area, centred in it: one factor for
// both axes, so nothing is stretched.
QRect centred(const QSize& page, const QRect& area);
// The size a page takes in the scroll area: whole inside it, or as wide as it, less the
// vertical scroll bar a page taller than the area then needs.
QSize inArea(const QSize& page, const QAbstractScrollArea* area, Mode mode);
// The page at (at most) size, proportions kept. Shrinking averages, so that the thin strokes of a
// black and white page do not drop out; enlarging repeats pixels.
QImage scaled(const QImage& page, const QSize& size);

} // namespace PageFit
