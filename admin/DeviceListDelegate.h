#pragma once

#include "Device.h"

#include <QStringList>
#include <QStyledItemDelegate>

// Paints one bound device as a row of the device list: icon, connection state, name and
// identity, address, and the account with its role word.
class DeviceListDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit DeviceListDelegate(QObject* parent = nullptr);

    // "管理员", "分发员" or "普通用户" for a permission sum, tested in that order.
    static QString roleText(int permission);
    // The four texts of a row: serverName, productID, the address (localIP, or remoteIP when
    // there is no local one) and "deviceName(role)".
    static QStringList rowTexts(const Device& device);
    // The connection icon of a connectStatus.
    static QString connectIcon(int connectStatus);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
