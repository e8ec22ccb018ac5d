#pragma once

#include <QPixmap>

// A QPixmap that can carry a second pixmap for a text note.
class QAdvancedPixmap : public QPixmap
{
public:
    QAdvancedPixmap() = default;
    QAdvancedPixmap(const QPixmap& pixmap) : QPixmap(pixmap) {}

    // Draws the note prompt onto the given pixmap.
    void addTextNote(QPixmap pixmap);

    QPixmap notePixmap;
};
