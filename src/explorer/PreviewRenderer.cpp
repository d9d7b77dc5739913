#include "PreviewRenderer.h"

#include "wordlink/OfficeBridge.h"
#include "wordlink/PdfExport.h"
#include "wordlink/ui/FirstPageRenderer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QMetaObject>

#include <functional>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// A document's identity in the cache: its path, size and modification time.
QString versionOf(const QString& path)
{
    const QFileInfo file(path);
    return u"%1|%2|%3"_s.arg(file.absoluteFilePath()).arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch());
}

struct PageRequest
{
    int ticket = 0;
    QString path;
    QString version;
    int dotsPerInch = 96;
};

} // namespace

// Lives on the renderer's thread. While the office bridge makes a page it waits in an event loop
// of this thread, where newer requests arrive: each only takes the place of the one waiting, and
// the latest is made once the page in hand is done. The bridge is made on the first page and
// ends with the worker.
class PreviewPageWorker : public QObject
{
public:
    using Deliver = std::function<void(const PageRequest&, const QImage&)>;

    PreviewPageWorker(std::atomic<int>& latest, Deliver deliver)
        : m_latest(latest)
        , m_deliver(std::move(deliver))
    {
    }

    void take(const PageRequest& request)
    {
        m_waiting = request;
        if (m_busy) {
            return;
        }
        m_busy = true;
        while (m_waiting) {
            const PageRequest next = *std::exchange(m_waiting, std::nullopt);
            if (next.ticket == m_latest.load()) {
                m_deliver(next, make(next.path, next.dotsPerInch));
            }
        }
        m_busy = false;
    }

private:
    QImage make(const QString& path, int dotsPerInch)
    {
        if (!m_bridge) {
            m_bridge = std::make_unique<wordlink::OfficeBridge>();
        }
        const Result<QString> pdf = wordlink::exportPdf(path, *m_bridge);
        return pdf.ok() ? wordlink::renderFirstPage(pdf.value(), dotsPerInch) : QImage();
    }

    std::atomic<int>& m_latest;
    Deliver m_deliver;
    std::optional<PageRequest> m_waiting;
    bool m_busy = false;
    std::unique_ptr<wordlink::OfficeBridge> m_bridge;
};

PreviewRenderer::PreviewRenderer(QObject* parent)
    : QObject(parent)
    , m_worker(new PreviewPageWorker(m_latest,
                                     [this](const PageRequest& request, const QImage& page) {
                                         QMetaObject::invokeMethod(this, [this, request, page] {
                                             finished(request.ticket, request.path, request.version, page);
                                         });
                                     }))
    , m_pages(64 * 1024 * 1024)
{
    m_thread.setObjectName(u"Preview"_s);
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    // The thread ends with the program, before the objects that outlive the event loop go.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &PreviewRenderer::stop);
    m_thread.start();
}

PreviewRenderer::~PreviewRenderer()
{
    stop();
}

void PreviewRenderer::stop()
{
    // A page being made is abandoned: its office bridge ends without waiting for the answer.
    cancel();
    m_thread.requestInterruption();
    m_thread.quit();
    m_thread.wait();
}

void PreviewRenderer::request(const QString& path, int dotsPerInch)
{
    const int ticket = ++m_latest;
    const QString version = versionOf(path) + u'|' + QString::number(dotsPerInch);
    if (const QImage* page = m_pages.object(version)) {
        emit pageReady(path, *page);
        return;
    }
    PreviewPageWorker* worker = m_worker;
    const PageRequest request{ticket, path, version, dotsPerInch};
    QMetaObject::invokeMethod(worker, [worker, request] { worker->take(request); });
}

void PreviewRenderer::cancel()
{
    ++m_latest;
}

void PreviewRenderer::finished(int ticket, const QString& path, const QString& version, const QImage& page)
{
    if (!page.isNull()) {
        m_pages.insert(version, new QImage(page), qMax<qsizetype>(1, page.sizeInBytes()));
    }
    if (ticket == m_latest.load()) {
        emit pageReady(path, page);
    }
}
