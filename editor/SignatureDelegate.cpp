#include "SignatureDelegate.h"

#include <QPainter>
#include <QPixmap>

void SignatureDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QPixmap pixmap = index.data(Qt::UserRole + 1).value<QPixmap>();
    painter->save();
    const QRect cell = option.rect.adjusted(4, 4, -4, -4);
    if (!pixmap.isNull()) {
        const QPixmap fitted = pixmap.scaled(cell.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
        painter->drawPixmap(cell.left() + (cell.width() - fitted.width()) / 2,
                            cell.top() + (cell.height() - fitted.height()) / 2, fitted);
    }
    if (option.state & QStyle::State_Selected) {
        painter->fillRect(option.rect, QColor(54, 132, 193, 126));
        painter->setPen(Qt::white);
    }
    painter->restore();
}

QSize SignatureDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    return QSize(150, 150);
}
