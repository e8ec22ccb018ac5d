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
    int pageKind = 0;           // 1 a cover made in the editor, 0 any other page
};

Q_DECLARE_METATYPE(FaxPage)
