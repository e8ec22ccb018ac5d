#pragma once

#include <QImage>
#include <QString>

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

// Renders the pages of a PDF file on worker threads, each into the editor's page
// (ImageUtil::pdfPageToFax of the rendering at the given resolution), and hands them out in
// page order. The workers stay a few pages ahead of the taker, so a long file never sits in
// memory whole. Each worker has its own Poppler document: one document is not to be shared
// between threads.
class PdfPageLoader
{
public:
    PdfPageLoader() = default;
    ~PdfPageLoader();
    PdfPageLoader(const PdfPageLoader&) = delete;
    PdfPageLoader& operator=(const PdfPageLoader&) = delete;

    // False when the file does not open, is locked or has no pages. threads 0: one per core.
    // sharp: each page is rendered at fax resolution instead (PdfPageReader::renderFaxPage,
    // ImageUtil::faxRasterBits) and dpi is not used.
    bool start(const QString& path, int dpi, int threads = 0, bool sharp = false);
    int pageCount() const { return m_count; }
    // True once page index is ready, waiting at most timeoutMs.
    bool waitFor(int index, int timeoutMs);
    // Page index, waiting for it; null when it could not be rendered. Pages are taken in
    // order, each once.
    QImage take(int index);
    // Stops the workers; pages in progress are dropped.
    void stop();

private:
    void work();

    QString m_path;
    int m_dpi = 0;
    bool m_sharp = false;
    int m_count = 0;
    int m_ahead = 0; // pages a worker may start beyond the last one taken
    std::vector<std::thread> m_workers;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<int, QImage> m_ready; // finished and not yet taken, as bits (pdfPageBits); null for a page that failed
    int m_next = 0;                // next page for a worker
    int m_taken = 0;               // pages taken so far
    bool m_stopping = false;
};
