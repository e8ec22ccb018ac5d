#include "PdfPageLoader.h"

#include "ImageUtil.h"
#include "PdfPageReader.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>

namespace {

// Every page passes through buffers of 4 to 15 MB. glibc serves blocks that large by mmap and
// returns them on free, so each new buffer faults in thousands of fresh zeroed pages: a
// third of the time of a page went there. Served from the heap and kept when free (up to
// the trim threshold), they are reused instead. Set once for the process.
void keepLargeBuffers()
{
    static std::once_flag once;
    std::call_once(once, [] {
        mallopt(M_MMAP_THRESHOLD, 64 * 1024 * 1024);
        mallopt(M_TRIM_THRESHOLD, 128 * 1024 * 1024);
    });
}

} // namespace

PdfPageLoader::~PdfPageLoader()
{
    stop();
}

bool PdfPageLoader::start(const QString& path, int dpi, int threads, bool sharp)
{
    stop();
    keepLargeBuffers();
    PdfPageReader probe;
    if (!probe.open(path))
        return false;
    m_path = path;
    m_dpi = dpi;
    m_sharp = sharp;
    m_count = probe.pageCount();
    m_ready.clear();
    m_next = 0;
    m_taken = 0;
    m_stopping = false;
    if (threads <= 0)
        threads = int(std::max(1u, std::min(4u, std::thread::hardware_concurrency())));
    threads = std::min(threads, m_count);
    m_ahead = threads;
    for (int i = 0; i < threads; ++i)
        m_workers.emplace_back(&PdfPageLoader::work, this);
    return true;
}

void PdfPageLoader::work()
{
    PdfPageReader reader;
    const bool opened = reader.open(m_path);
    for (;;) {
        int index;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return m_stopping || m_next >= m_count || m_next < m_taken + m_ahead; });
            if (m_stopping || m_next >= m_count)
                return;
            index = m_next++;
        }
        QImage page;
        {
            // Waiting pages are kept as bits, an eighth of the RGBA page; take() spreads them.
            if (opened && m_sharp) {
                page = ImageUtil::faxRasterBits(reader.renderFaxPage(index));
            } else {
                const QImage rendered = opened ? reader.renderPage(index, m_dpi) : QImage();
                if (!rendered.isNull())
                    page = ImageUtil::pdfPageBits(rendered);
            }
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_ready[index] = std::move(page);
        }
        m_changed.notify_all();
    }
}

bool PdfPageLoader::waitFor(int index, int timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [&] { return m_ready.count(index) > 0 || m_workers.empty(); })
        && m_ready.count(index) > 0;
}

QImage PdfPageLoader::take(int index)
{
    QImage page;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (index < 0 || index >= m_count || m_workers.empty())
            return page;
        m_changed.wait(lock, [&] { return m_ready.count(index) > 0; });
        page = std::move(m_ready[index]);
        m_ready.erase(index);
        m_taken = std::max(m_taken, index + 1);
    }
    m_changed.notify_all();
    return ImageUtil::faxPageFromBits(page);
}

void PdfPageLoader::stop()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    for (std::thread& worker : m_workers)
        worker.join();
    m_workers.clear();
    m_ready.clear();
}
