#pragma once

#include "QAdvancedPixmap.h"

#include <QImage>
#include <QMetaType>
#include <QPixmap>

// One page in the editor.
struct FaxPage
{
    int pageIndex = 0;          // row of the page
    QImage image;               // the page as it will be sent
    QAdvancedPixmap advancedPixmap;
    QPixmap notePixmap;
    QPixmap pixmap;             // display copy
    int pageKind = 0;           // 0 from a file or stored fax, 1 made in the editor
};

Q_DECLARE_METATYPE(FaxPage)
