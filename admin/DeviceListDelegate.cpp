#include "DeviceListDelegate.h"

#include "PermissionConstant.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace {
constexpr int ROW_HEIGHT = 80;
constexpr int TEXT_OFFSET = 80; // the address stands this far right of the name
constexpr int DEVICE_ROLE = Qt::UserRole + 1;
} // namespace

DeviceListDelegate::DeviceListDelegate(QObject* parent) : QStyledItemDelegate(parent)
{
}

QString DeviceListDelegate::roleText(int permission)
{
    if (permission & PermissionConstant::PERMISSION_ADMIN)
        return tr("管理员");
    if (permission & PermissionConstant::PERMISSION_PUB)
        return tr("分发员");
    return tr("普通用户");
}

QStringList DeviceListDelegate::rowTexts(const Device& device)
{
    return {device.serverName, device.productID, device.localIP.isEmpty() ? device.remoteIP : device.localIP,
            QStringLiteral("%1(%2)").arg(device.deviceName, roleText(device.permission))};
}

QString DeviceListDelegate::connectIcon(int connectStatus)
{
    switch (connectStatus) {
    case 0: return QStringLiteral(":/icon/icons/ic_local_connect.png");
    case 1: return QStringLiteral(":/icon/icons/ic_remote_connect.png");
    default: return QStringLiteral(":/icon/icons/ic_connect_failed.png");
    }
}

QSize DeviceListDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const
{
    return QSize(option.rect.width(), ROW_HEIGHT);
}

void DeviceListDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const Device device = index.data(DEVICE_ROLE).value<Device>();
    const QStringList texts = rowTexts(device);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    const QRect row = option.rect.adjusted(4, 3, -4, -3);
    QPainterPath frame;
    frame.addRoundedRect(row, 6, 6);
    painter->setPen(QColor(0xD0, 0xD8, 0xE0));
    if (option.state & QStyle::State_Selected)
        painter->fillPath(frame, QColor(0xE5, 0xF1, 0xFF));
    painter->drawPath(frame);

    // Device icon, 120 by 20 at most, then the connection state.
    const QPixmap icon = QPixmap(QStringLiteral(":/icon/icons/ic_device.png"))
                             .scaled(120, 20, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QRect iconRect(row.left() + 10, row.top() + 10, 120, 20);
    if (!icon.isNull())
        painter->drawPixmap(iconRect.topLeft(), icon);
    const QPixmap state(connectIcon(device.connectStatus));
    const QRect stateRect(row.left() + 10, row.bottom() - 30, 20, 20);
    if (!state.isNull())
        painter->drawPixmap(stateRect, state);

    // Name over identity, the address beside them, the account and role on the last line.
    const int left = row.left() + 140;
    const int lineHeight = row.height() / 3;
    painter->setPen(option.palette.color(QPalette::Text));
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    const QRect nameRect(left, row.top(), row.right() - left, lineHeight);
    painter->drawText(nameRect, Qt::AlignLeft | Qt::AlignVCenter, texts[0]);
    painter->setFont(option.font);
    const QRect idRect(left, row.top() + lineHeight, 160, lineHeight);
    painter->drawText(idRect, Qt::AlignLeft | Qt::AlignVCenter, texts[1]);
    const QRect addressRect(idRect.right() + TEXT_OFFSET, idRect.top(), row.right() - idRect.right() - TEXT_OFFSET,
                            lineHeight);
    painter->drawText(addressRect, Qt::AlignLeft | Qt::AlignVCenter, texts[2]);
    const QRect accountRect(left, row.top() + 2 * lineHeight, row.right() - left, lineHeight);
    painter->drawText(accountRect, Qt::AlignLeft | Qt::AlignVCenter, texts[3]);
    painter->restore();
}
