#include "QAdvancedLabel.h"

#include <QMouseEvent>
#include <QStyle>

QAdvancedLabel::QAdvancedLabel(QWidget* parent) : QLabel(parent)
{
}

void QAdvancedLabel::setSourceSize(const QSize& size)
{
    m_sourceSize = size;
}

QSize QAdvancedLabel::sourceSize() const
{
    return m_sourceSize;
}

QRect QAdvancedLabel::pixmapRect() const
{
    const QPixmap shown = pixmap(Qt::ReturnByValue);
    const QRect contents = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    return QStyle::alignedRect(layoutDirection(), QStyle::visualAlignment(layoutDirection(), alignment()),
                               shown.size(), contents);
}

double QAdvancedLabel::sourceScale() const
{
    const QPixmap shown = pixmap(Qt::ReturnByValue);
    if (m_sourceSize.isEmpty() || shown.width() <= 0)
        return 1.0;
    return double(m_sourceSize.width()) / shown.width();
}

QPointF QAdvancedLabel::mapToSource(const QPointF& labelPoint) const
{
    const QRect shownRect = pixmapRect();
    const QPointF inPixmap = labelPoint - QPointF(shownRect.topLeft());
    if (m_sourceSize.isEmpty() || shownRect.width() <= 0 || shownRect.height() <= 0)
        return inPixmap;
    return QPointF(inPixmap.x() * m_sourceSize.width() / shownRect.width(),
                   inPixmap.y() * m_sourceSize.height() / shownRect.height());
}

void QAdvancedLabel::mousePressEvent(QMouseEvent* event)
{
    emit pressed(event);
    QLabel::mousePressEvent(event);
}

void QAdvancedLabel::mouseMoveEvent(QMouseEvent* event)
{
    emit moved(event);
    QLabel::mouseMoveEvent(event);
}

void QAdvancedLabel::mouseReleaseEvent(QMouseEvent* event)
{
    emit clicked(event);
    QLabel::mouseReleaseEvent(event);
}
