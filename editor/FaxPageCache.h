#pragma once

#include "FaxPageSource.h"

#include <QImage>
#include <QList>
#include <QPair>

// The few decoded pages of fax files that the editor keeps at hand: the one shown and the
// last ones before it. Older pages are dropped and decoded again when they come back.
class FaxPageCache
{
public:
    static const int CAPACITY = 3;

    // The decoded page, from the cache or from its file; null when the file does not give it.
    QImage image(const FaxPageSource& source);
    // A page decoded or derived elsewhere, equal to source.decode().
    void insert(const FaxPageSource& source, const QImage& image);
    QList<QImage> held() const;
    // Pages decoded from files so far: what tests and benchmarks count.
    int decodeCount() const { return m_decodes; }

private:
    QList<QPair<FaxPageSource, QImage>> m_pages; // most recently used last
    int m_decodes = 0;
};
