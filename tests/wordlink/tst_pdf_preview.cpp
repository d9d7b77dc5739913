#include "TestSupport.h"
#include "wordlink/OfficeBridge.h"
#include "wordlink/PdfExport.h"
#include "wordlink/ui/FirstPageRenderer.h"

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class PdfPreviewTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }
    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void theFirstPage_isRendered_onWhite_andTheExportIsKeptUntilTheDocumentChanges()
    {
        QTemporaryDir dir;
        const QString letter = dir.filePath(u"two pages.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"pages"_s, letter, u"2"_s));
        const Result<QString> pdf = wordlink::exportPdf(letter);
        QVERIFY2(pdf.ok(), qPrintable(pdf.error().message));
        const QImage page = wordlink::renderFirstPage(pdf.value(), 72);
        QCOMPARE(page.pixelColor(2, 2), QColor(Qt::white));
        int dark = 0;
        for (int y = 0; y < page.height(); y += 4) {
            for (int x = 0; x < page.width(); x += 4) {
                dark += qGray(page.pixel(x, y)) < 128 ? 1 : 0;
            }
        }
        QVERIFY2(dark > 50, "the page shows text");

        // A changed document (dated a minute later, as a later save would be) is exported afresh,
        // and only one export per document is kept.
        QVERIFY(TestSupport::makeDocx(u"plain"_s, letter, u"changed"_s));
        QFile changed(letter);
        QVERIFY(changed.open(QIODevice::ReadWrite) &&
                changed.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime));
        changed.close();
        QVERIFY(wordlink::exportPdf(letter).value() != pdf.value());
        QVERIFY(!QFile::exists(pdf.value()));

        QVERIFY(wordlink::renderFirstPage(dir.filePath(u"none.pdf"_s)).isNull());
        QVERIFY(!wordlink::exportPdf(dir.filePath(u"none.docx"_s)).ok());
    }
};

QTEST_MAIN(PdfPreviewTest)
#include "tst_pdf_preview.moc"
