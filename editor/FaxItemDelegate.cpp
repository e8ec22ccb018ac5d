#include "FaxItemDelegate.h"

#include "FaxPage.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QPixmapCache>

namespace {
const int ROW_HEIGHT = 200;

// Scaling a full page for every paint is slow with many pages; keep the thumbnails.
QPixmap thumbnail(const QPixmap& page, const QSize& box)
{
    const QString key = QStringLiteral("faxthumb-%1-%2x%3").arg(page.cacheKey()).arg(box.width()).arg(box.height());
    QPixmap cached;
    if (QPixmapCache::find(key, &cached))
        return cached;
    cached = page.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPixmapCache::insert(key, cached);
    return cached;
}
}

void FaxItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const FaxPage page = index.data(Qt::UserRole + 1).value<FaxPage>();
    painter->save();
    painter->fillRect(option.rect, QColor(156, 156, 156));

    const QRect box = option.rect.adjusted(8, 8, -8, -8);
    if (!page.pixmap.isNull() && box.isValid()) {
        const QPixmap thumb = thumbnail(page.pixmap, box.size());
        const QRect target(box.left() + (box.width() - thumb.width()) / 2,
                           box.top() + (box.height() - thumb.height()) / 2, thumb.width(), thumb.height());
        painter->drawPixmap(target.topLeft(), thumb);
        painter->setPen(QColor(90, 90, 90));
        painter->drawRect(target.adjusted(0, 0, -1, -1));
    }

    // The page number in a marker at the top left.
    const QRect marker(option.rect.left() + 4, option.rect.top() + 4, 28, 22);
    painter->fillRect(marker, QColor(39, 120, 185));
    painter->setPen(Qt::white);
    painter->drawText(marker, Qt::AlignCenter, QString::number(index.row() + 1));

    if (option.state & QStyle::State_Selected)
        painter->fillRect(option.rect, QColor(54, 132, 193, 126));
    painter->restore();
}

QSize FaxItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    int width = option.rect.width();
    if (auto* view = qobject_cast<const QAbstractItemView*>(option.widget))
        width = view->viewport()->width();
    return QSize(width, ROW_HEIGHT);
}
