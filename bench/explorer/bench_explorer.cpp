// Lists a folder of 10,000 documents in the main window (offscreen) and prints how long the
// listing alone and the whole fill of the list take; then previews two one-page .docx documents
// one after the other and prints how long each takes to show its page, the first one with the
// office suite starting, the second one with it warm.

#include "core/PageView.h"
#include "explorer/DocumentListing.h"
#include "explorer/FrmFileList.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Documents = 10000;

bool waitForPage(FrmFileList& window, QElapsedTimer& clock, int limitMs)
{
    while (clock.elapsed() < limitMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (!window.picOle()->picture->pixmap().isNull()) {
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath(u"data"_s)));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath(u"config"_s)));
    QApplication app(argc, argv);

    const QString many = dir.filePath(u"many"_s);
    QDir().mkpath(many);
    for (int i = 0; i < Documents; ++i) {
        QFile file(many + u"/Letter %1.docx"_s.arg(i, 5, 10, QChar(u'0')));
        if (!file.open(QIODevice::WriteOnly)) {
            return 1;
        }
        file.write(QByteArray(1000 + i % 5000, 'x'));
    }
    const QString pages = dir.filePath(u"pages"_s);
    QDir().mkpath(pages);
    for (const QString& name : {u"first.docx"_s, u"second.docx"_s}) {
        if (QProcess::execute(u"/usr/bin/python3"_s,
                              {QStringLiteral(QUILLBAY_SOURCE_DIR) + u"/tests/support/make_docx.py"_s, u"letter"_s,
                               pages + u'/' + name}) != 0) {
            return 1;
        }
    }

    QElapsedTimer clock;
    clock.start();
    const qsizetype listed = DocumentListing::documentsIn(many).size();
    const qint64 listing = clock.elapsed();

    FrmFileList window;
    window.Form_Load([](const QString&) {});
    window.resize(1000, 700);
    window.show();
    QCoreApplication::processEvents();
    const auto fill = [&](const QString& folder) {
        window.txtAddress()->setText(folder);
        clock.restart();
        window.txtAddress_KeyPress(13);
        QCoreApplication::processEvents(); // the list painted
        return clock.elapsed();
    };
    const qint64 firstFill = fill(many);
    const int shown = window.lvList()->topLevelItemCount();
    fill(pages); // back and forth: the second fill of the big folder is the one a user repeats
    const qint64 secondFill = fill(many);

    fill(pages); // previews first.docx, starting the office suite
    clock.restart();
    const bool cold = waitForPage(window, clock, 30000);
    const qint64 coldMs = clock.elapsed();
    QTreeWidget* list = window.lvList();
    clock.restart();
    list->setCurrentItem(list->topLevelItem(1));
    const bool warm = waitForPage(window, clock, 60000);
    const qint64 warmMs = clock.elapsed();

    std::printf("documents in the folder            %d (listed %lld, shown %d)\n", Documents,
                static_cast<long long>(listed), shown);
    std::printf("listing alone                      %lld ms\n", static_cast<long long>(listing));
    std::printf("list filled, first time            %lld ms\n", static_cast<long long>(firstFill));
    std::printf("list filled, again                 %lld ms\n", static_cast<long long>(secondFill));
    std::printf("first page, office suite starting  %s %lld ms\n", cold ? "" : "(not shown)",
                static_cast<long long>(coldMs));
    std::printf("first page, office suite warm      %s %lld ms\n", warm ? "" : "(not shown)",
                static_cast<long long>(warmMs));
    return shown == Documents && cold && warm ? 0 : 1;
}
