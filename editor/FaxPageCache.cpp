#include "FaxPageCache.h"

QImage FaxPageCache::image(const FaxPageSource& source)
{
    for (int i = 0; i < m_pages.size(); ++i) {
        if (m_pages.at(i).first == source) {
            m_pages.append(m_pages.takeAt(i));
            return m_pages.last().second;
        }
    }
    const QImage page = source.decode();
    if (!page.isNull()) {
        ++m_decodes;
        insert(source, page);
    }
    return page;
}

void FaxPageCache::insert(const FaxPageSource& source, const QImage& image)
{
    for (int i = 0; i < m_pages.size(); ++i) {
        if (m_pages.at(i).first == source) {
            m_pages.removeAt(i);
            break;
        }
    }
    m_pages.append(qMakePair(source, image));
    while (m_pages.size() > CAPACITY)
        m_pages.removeFirst();
}

QList<QImage> FaxPageCache::held() const
{
    QList<QImage> images;
    for (const auto& entry : m_pages)
        images.append(entry.second);
    return images;
}
