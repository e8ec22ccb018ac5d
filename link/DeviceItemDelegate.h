#pragma once

#include <QStyledItemDelegate>

// One discovered device a row: name, identity and address, with an "添加" button at the right.
class DeviceItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    static constexpr int ROW_HEIGHT = 60;

    explicit DeviceItemDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    // The button's place in a row: 50 wide, right edge 9 inside the row's, 10 to 40 below its top.
    static QRect buttonRect(const QRect& row);

signals:
    void buttonClicked(const QModelIndex index);
};
