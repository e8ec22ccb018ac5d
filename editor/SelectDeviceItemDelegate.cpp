#include "SelectDeviceItemDelegate.h"

#include "Device.h"

#include <QPainter>
#include <QPainterPath>

void SelectDeviceItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const
{
    const Device device = index.data(Qt::UserRole + 1).value<Device>();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (option.state & QStyle::State_Selected) {
        QPainterPath path;
        path.addRoundedRect(QRectF(option.rect).adjusted(1, 1, -1, -1), 6, 6);
        painter->fillPath(path, QColor(229, 241, 255));
    }

    const QRect cell = option.rect.adjusted(5, 5, -5, -5);
    const int addressWidth = 180;
    const QRect textArea(cell.left(), cell.top(), cell.width() - addressWidth, cell.height());
    painter->setPen(option.palette.color(QPalette::Text));

    QFont nameFont = option.font;
    nameFont.setBold(true);
    painter->setFont(nameFont);
    painter->drawText(QRect(textArea.left(), textArea.top(), textArea.width(), 25), Qt::AlignLeft | Qt::AlignVCenter,
                      device.serverName);
    painter->setFont(option.font);
    painter->drawText(QRect(textArea.left(), textArea.top() + 30, textArea.width(), 20),
                      Qt::AlignLeft | Qt::AlignVCenter, device.productID);

    const QString address = device.localIP.isEmpty() ? device.remoteIP : device.localIP;
    painter->drawText(QRect(cell.right() - addressWidth, cell.top(), addressWidth, cell.height()),
                      Qt::AlignRight | Qt::AlignVCenter, address);
    painter->restore();
}

QSize SelectDeviceItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    return QSize(option.rect.width(), 60);
}
