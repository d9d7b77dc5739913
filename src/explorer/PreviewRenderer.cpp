#include "PreviewRenderer.h"

#include "wordlink/OfficeBridge.h"
#include "wordlink/PdfExport.h"
#include "wordlink/ui/FirstPageRenderer.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QMetaObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// A document's identity in the cache: its path, size and modification time.
QString versionOf(const QString& path)
{
    const QFileInfo file(path);
    return u"%1|%2|%3"_s.arg(file.absoluteFilePath()).arg(file.size()).arg(file.lastModified().toMSecsSinceEpoch());
}

} // namespace

// Lives on the renderer's thread. The office bridge it uses is made there on the first page
// and ends with it.
class PreviewPageWorker : public QObject
{
public:
    PreviewPageWorker(PreviewRenderer::PageMaker maker, std::atomic<int>& latest)
        : m_maker(std::move(maker))
        , m_latest(latest)
    {
    }

    QImage make(const QString& path, int dotsPerInch)
    {
        if (m_maker) {
            return m_maker(path, dotsPerInch);
        }
        if (!m_bridge) {
            m_bridge = std::make_unique<wordlink::OfficeBridge>();
        }
        const Result<QString> pdf = wordlink::exportPdf(path, *m_bridge);
        return pdf.ok() ? wordlink::renderFirstPage(pdf.value(), dotsPerInch) : QImage();
    }

    bool stillWanted(int ticket) const { return ticket == m_latest.load(); }

private:
    PreviewRenderer::PageMaker m_maker;
    std::atomic<int>& m_latest;
    std::unique_ptr<wordlink::OfficeBridge> m_bridge;
};

PreviewRenderer::PreviewRenderer(QObject* parent)
    : PreviewRenderer(PageMaker(), parent)
{
}

PreviewRenderer::PreviewRenderer(PageMaker maker, QObject* parent)
    : QObject(parent)
    , m_worker(new PreviewPageWorker(std::move(maker), m_latest))
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
    QMetaObject::invokeMethod(worker, [this, worker, ticket, path, version, dotsPerInch] {
        if (!worker->stillWanted(ticket)) {
            return;
        }
        const QImage page = worker->make(path, dotsPerInch);
        QMetaObject::invokeMethod(this, [this, ticket, path, version, page] { finished(ticket, path, version, page); });
    });
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
