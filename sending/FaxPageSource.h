#pragma once

#include <QImage>
#include <QList>
#include <QMetaType>
#include <QString>

// A page of a fax file named by where it lies instead of held decoded: a long fax costs a
// decoded page only while one is looked at or written, not one for every page.
struct FaxPageSource
{
    QString path;
    int index = -1;       // page of the file, from 0
    QString fitAs;        // empty: the page as stored; else the suffix scaleToFaxSize fits it with
    int quarterTurns = 0; // clockwise quarter turns applied after decoding, 0..3

    bool isNull() const { return path.isEmpty() || index < 0; }
    // The same page a quarter turn further clockwise (turns = 1) or anticlockwise (turns = -1).
    FaxPageSource turned(int turns) const;
    // The page as the editor shows and sends it; null when the file no longer gives it.
    QImage decode() const;

    bool operator==(const FaxPageSource& other) const
    {
        return path == other.path && index == other.index && fitAs == other.fitAs
            && quarterTurns == other.quarterTurns;
    }
};

Q_DECLARE_METATYPE(FaxPageSource)
