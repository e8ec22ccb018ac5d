#pragma once

#include <QLabel>
#include <QPointF>
#include <QSize>

class QMouseEvent;

// A label that passes its mouse events on as signals, and maps a point of its own onto the
// full-size image it shows a scaled copy of, so that a click lands on the same page point at
// any zoom.
class QAdvancedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit QAdvancedLabel(QWidget* parent = nullptr);

    // The size of the image the shown pixmap is a scaled copy of; empty: shown unscaled.
    void setSourceSize(const QSize& size);
    QSize sourceSize() const;
    // Where the shown pixmap lies inside the label.
    QRect pixmapRect() const;
    // A point of the label in the coordinates of the source image.
    QPointF mapToSource(const QPointF& labelPoint) const;
    // Source pixels for one shown pixel (1.0 when unscaled).
    double sourceScale() const;

signals:
    void pressed(QMouseEvent* event);
    void moved(QMouseEvent* event);
    void clicked(QMouseEvent* event);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QSize m_sourceSize;
};
