#include "DeviceItemDelegate.h"

#include "Device.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

DeviceItemDelegate::DeviceItemDelegate(QObject* parent) : QStyledItemDelegate(parent)
{
}

QRect DeviceItemDelegate::buttonRect(const QRect& row)
{
    return QRect(row.right() - 9 - 50 + 1, row.top() + 10, 50, 30);
}

QSize DeviceItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    return QSize(QStyledItemDelegate::sizeHint(option, index).width(), ROW_HEIGHT);
}

void DeviceItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const Device device = index.data(Qt::UserRole + 1).value<Device>();
    painter->save();
    if (option.state & QStyle::State_Selected)
        painter->fillRect(option.rect, option.palette.highlight());
    else if (option.state & QStyle::State_MouseOver)
        painter->fillRect(option.rect, option.palette.alternateBase());

    const QRect text = option.rect.adjusted(12, 6, -70, -6);
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    painter->setPen(option.palette.color(QPalette::Text));
    painter->drawText(QRect(text.left(), text.top(), text.width(), text.height() / 2),
                      Qt::AlignLeft | Qt::AlignVCenter, device.serverName);
    painter->setFont(option.font);
    painter->setPen(option.palette.color(QPalette::Disabled, QPalette::Text));
    painter->drawText(QRect(text.left(), text.center().y(), text.width(), text.height() / 2),
                      Qt::AlignLeft | Qt::AlignVCenter, device.productID + QStringLiteral("   ") + device.localIP);

    QStyleOptionButton button;
    button.rect = buttonRect(option.rect);
    button.text = tr("添加");
    button.state = QStyle::State_Enabled;
    QApplication::style()->drawControl(QStyle::CE_PushButton, &button, painter);
    painter->restore();
}

bool DeviceItemDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                     const QModelIndex& index)
{
    if (event->type() == QEvent::MouseButtonRelease) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (buttonRect(option.rect).contains(mouse->pos())) {
            emit buttonClicked(index);
            return true;
        }
    }
    return QStyledItemDelegate::editorEvent(event, model, option, index);
}
