#pragma once

#include <QCache>
#include <QImage>
#include <QObject>
#include <QString>
#include <QThread>

#include <atomic>

class PreviewPageWorker;

// Renders the first page of documents for the explorer's preview on a thread of its own, with
// an office bridge of its own, so that the window keeps taking clicks while a page is made. Only
// the latest request counts: one asked for before it is dropped unstarted, and a page that
// arrives for it is not shown. Pages are kept by path, size and modification time.
class PreviewRenderer : public QObject
{
    Q_OBJECT

public:
    explicit PreviewRenderer(QObject* parent = nullptr);
    ~PreviewRenderer() override;

    // Asks for a document's page; answered by pageReady, at once when it is in the cache.
    void request(const QString& path, int dotsPerInch);
    // Drops any request in flight: its page will not be shown.
    void cancel();

signals:
    // The page of the latest request; a null image when the document cannot be previewed.
    void pageReady(const QString& path, const QImage& page);

private:
    void stop();
    void finished(int ticket, const QString& path, const QString& version, const QImage& page);

    QThread m_thread;
    PreviewPageWorker* m_worker = nullptr;
    std::atomic<int> m_latest{0};
    QCache<QString, QImage> m_pages;
};
