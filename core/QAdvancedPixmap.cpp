#include "QAdvancedPixmap.h"

#include <QCoreApplication>
#include <QPainter>

void QAdvancedPixmap::addTextNote(QPixmap pixmap)
{
    QPainter painter(&pixmap);
    painter.drawText(QPointF(100.0, 100.0), QCoreApplication::translate("QAdvancedPixmap", "请输入..."));
}
