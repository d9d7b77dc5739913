#include "TestSupport.h"
#include "composer/ComposePage.h"
#include "contacts/ContactTable.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "wizard/DocumentMerge.h"
#include "wizard/TokenEngine.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollArea>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QToolBar>
#include <QToolButton>

using namespace Qt::StringLiterals;

class ComposerTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_tokens;
    std::unique_ptr<ComposePage> m_page;

    void fillRecipients()
    {
        for (QComboBox* box : {m_page->CboPTo, m_page->cboPAtTo}) {
            box->clear();
        }
        for (int row = 1; row <= m_table.count(); ++row) {
            m_page->CboPTo->addItem(m_table.cell(row, 0));
            m_page->CboPIndex->addItem(QString::number(row));
            m_page->cboPAtTo->addItem(m_table.cell(row, 0));
            m_page->CboPAtIndex->addItem(QString::number(row));
        }
        m_page->CboPTo->setCurrentIndex(-1);
        m_page->cboPAtTo->setCurrentIndex(-1);
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        for (const QStringList& contact :
             {QStringList{u"ann@example.com"_s, u"Ann"_s}, QStringList{u"nobody@example.com"_s, QString()},
              QStringList{u"cy@example.com"_s, u"Cy"_s}}) {
            std::array<QString, 16> cells;
            cells[0] = contact[0];
            cells[1] = contact[1];
            m_table.addRow(cells);
        }
        m_tokens = std::make_unique<TokenEngine>(m_table);
        m_tokens->setSourceIndex(5);
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void init()
    {
        TestSupport::resetSettings();
        Dialogs::clearNextResults();
        m_page = std::make_unique<ComposePage>();
        m_page->resize(760, 480);
        m_page->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_page.get()));
        m_page->InitComposer();
        m_page->setMergeSources(m_tokens.get(), {});
    }

    void cleanup() { m_page.reset(); }

    void theToolbar_greysInTheSubject_andComesBackWithItsColoursInTheBody()
    {
        m_page->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_page.get()));
        m_page->picColor = QColor(Qt::red);
        m_page->dhtCompose->setFocus();
        QVERIFY(m_page->TbEdit->isEnabled());
        m_page->txtSubject->setFocus();
        QVERIFY(!m_page->TbEdit->isEnabled());
        QVERIFY(!m_page->cboFont->isEnabled());
        QTest::mouseClick(m_page->dhtCompose->viewport(), Qt::LeftButton);
        QVERIFY(m_page->TbEdit->isEnabled());
        QVERIFY(m_page->cboFontSize->isEnabled());
        QCOMPARE(m_page->picColor, QColor(Qt::red));
        QVERIFY(m_page->previewStale());
        // The colour frame opens beside its button and gives the colour it is clicked on.
        m_page->toggleColorFrame(u"C"_s);
        QVERIFY(m_page->framColor->isVisible());
        QCOMPARE(m_page->lblColor[0]->palette().color(QPalette::Window), QColor(Qt::black));
        m_page->lblColor_Click(3);
        QCOMPARE(m_page->picColor, QColor(QRgb(0x008000)));
        QVERIFY(!m_page->framColor->isVisible());
        m_page->toggleColorFrame(u"HC"_s);
        QCOMPARE(m_page->lblColor[0]->palette().color(QPalette::Window), QColor(Qt::white));
        Dialogs::setNextResult(u"#123456"_s);
        m_page->cmdMoreColors_Click();
        QCOMPARE(m_page->picHColor, QColor(u"#123456"_s));
    }

    void theFieldMenu_followsTheSourceKind_andInsertsAtTheCaret_leavingTheClipboard()
    {
        m_page->PrepareFieldMenu(false, {u"Member"_s, u"Region"_s, u"Since"_s});
        QVERIFY(!m_page->MnuMergeFlds()->findChild<QAction*>(u"MnuCus1"_s)->isVisible());
        m_page->PrepareFieldMenu(true, {u"Member"_s, u"Region"_s, u"Since"_s});
        QAction* custom = m_page->MnuMergeFlds()->findChild<QAction*>(u"MnuCus2"_s);
        QVERIFY(custom->isVisible());
        QCOMPARE(custom->text(), u"Region"_s);
        QCOMPARE(m_page->MnuMergeFlds()->actions().first()->text(), u"First Name"_s);
        QCOMPARE(m_page->MnuMergeFlds()->findChild<QAction*>(u"MnuJobTitle"_s)->text(), u"JobTitle"_s);

        QApplication::clipboard()->setText(u"the user's own text"_s);
        m_page->dhtCompose->setPlainText(u"Dear ,"_s);
        QTextCursor cursor = m_page->dhtCompose->textCursor();
        cursor.setPosition(5);
        m_page->dhtCompose->setTextCursor(cursor);
        m_page->MnuMergeFlds()->findChild<QAction*>(u"MnuFirstName"_s)->trigger();
        custom->trigger();
        QCOMPARE(m_page->dhtCompose->toPlainText(), u"Dear [[FirstName]]\t[[Region]]\t,"_s);
        QCOMPARE(QApplication::clipboard()->text(), u"the user's own text"_s);
        QVERIFY(m_page->txtSource->toPlainText().contains(u"[[FirstName]]"_s));
    }

    void theSource_roundTripsThroughTheWorkingFile()
    {
        m_page->setDocumentHTML(u"<p>First</p>"_s);
        m_page->G1_Tab->setCurrentIndex(1);
        QVERIFY(m_page->txtSource->toPlainText().contains(u"First"_s));
        QFile working(AppPaths::file(u"myhtml.htm"_s));
        QVERIFY(working.open(QIODevice::ReadOnly));
        QVERIFY(working.readAll().contains("First"));
        working.close();
        m_page->txtSource->setPlainText(u"<html><body><h2>Changed</h2><p>in the source</body>"_s);
        m_page->G1_Tab->setCurrentIndex(0);
        QCOMPARE(m_page->dhtCompose->toPlainText().trimmed(), u"Changed\nin the source"_s);
        QVERIFY(working.open(QIODevice::ReadOnly));
        QVERIFY(working.readAll().endsWith("<p>in the source</body>\n"));
    }

    void toolbarCommands_writeTheirFormattingIntoTheHtml()
    {
        m_page->dhtCompose->setPlainText(u"one\ntwo"_s);
        m_page->dhtCompose->selectAll();
        m_page->TbEdit_ButtonClick(u"Bold"_s);
        m_page->TbEdit_ButtonClick(u"Numbers"_s);
        m_page->TbEdit_ButtonClick(u"Center"_s);
        QString html = m_page->DocumentHTML();
        QVERIFY(html.contains(u"font-weight:700"_s));
        QVERIFY(html.contains(u"<ol"_s));
        QVERIFY(html.contains(u"align=\"center\""_s));
        m_page->TbEdit_ButtonClick(u"Numbers"_s);
        QVERIFY(!m_page->DocumentHTML().contains(u"<ol"_s));

        m_page->dhtCompose->moveCursor(QTextCursor::End);
        Dialogs::setNextResult(u"https://example.org/club"_s);
        m_page->TbEdit_ButtonClick(u"Link"_s);
        QImage picture(8, 8, QImage::Format_RGB32);
        picture.fill(Qt::blue);
        const QString png = m_dir.filePath(u"logo.png"_s);
        QVERIFY(picture.save(png));
        Dialogs::setNextResult(png);
        m_page->TbEdit_ButtonClick(u"Picture"_s);
        html = m_page->DocumentHTML();
        QVERIFY(html.contains(u"href=\"https://example.org/club\""_s));
        QVERIFY(html.contains(u"src=\"file://"_s + png + u"\""_s));
        m_page->TbEdit_ButtonClick(u"UNDO"_s);
        QVERIFY(!m_page->DocumentHTML().contains(u"logo.png"_s));
    }

    void openAndSave_checkTheirNames()
    {
        TestSupport::MessageRecorder messages;
        Dialogs::setNextResult(m_dir.filePath(u"notes.txt"_s));
        m_page->OpenHtmlFile();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        const QString page = m_dir.filePath(u"Letter.HTM"_s);
        QFile file(page);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<p>Gr\xFC\xDF Gott</p>"); // an older page in its code page
        file.close();
        Dialogs::setNextResult(page);
        m_page->OpenHtmlFile();
        QCOMPARE(m_page->dhtCompose->toPlainText(), u"Grüß Gott"_s);
        const QString saved = m_dir.filePath(u"saved.htm"_s);
        Dialogs::setNextResult(saved);
        m_page->SaveHtmlFile();
        QFile out(saved);
        QVERIFY(out.open(QIODevice::ReadOnly));
        QVERIFY(QString::fromUtf8(out.readAll()).contains(u"Grüß Gott"_s));
        QCOMPARE(m_page->txtSource->property("Tag").toString(), saved);
    }

    void thePreview_walksTheContacts_andStopsAtBothEnds()
    {
        fillRecipients();
        m_page->setDocumentHTML(u"<p>Dear [[FirstName]] ([[Email1Address]])</p>"_s);
        m_page->G1_Tab->setCurrentIndex(2);
        QCOMPARE(m_page->TxtPScrl->text(), u"1"_s);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Dear Ann (ann@example.com)"_s);
        m_page->ImgSrl_Click(0); // back at the first stays there
        QCOMPARE(m_page->TxtPScrl->text(), u"1"_s);
        m_page->ImgSrl_Click(1);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Dear Sir (nobody@example.com)"_s); // the blank-field text
        m_page->ImgSrl_Click(3);
        QCOMPARE(m_page->TxtPScrl->text(), u"3"_s);
        m_page->ImgSrl_Click(1); // forward at the last changes nothing
        QCOMPARE(m_page->TxtPScrl->text(), u"3"_s);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Dear Cy (cy@example.com)"_s);
        m_page->ImgSrl_Click(2);
        QCOMPARE(m_page->TxtPScrl->text(), u"1"_s);
        m_page->ImgSrl_Click(0);
        QCOMPARE(m_page->TxtPScrl->text(), u"1"_s);
        // A changed text is merged again when the tab is entered again.
        m_page->G1_Tab->setCurrentIndex(0);
        m_page->setDocumentHTML(u"<p>Hello [[FirstName]]</p>"_s);
        QTest::keyClick(m_page->dhtCompose, Qt::Key_End);
        m_page->G1_Tab->setCurrentIndex(2);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Hello Ann"_s);
    }

    void theAttachmentPreview_showsTheFirstPage_withoutTheBlankFieldText()
    {
        const QString letter = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, letter));
        const QString preview = AppPaths::file(u"DocPreview.docx"_s);
        QString lastText;
        m_page->setMergeSources(m_tokens.get(), [&](int row) -> Result<QString> {
            auto application = wordlink::NewApplication();
            const Status merged = DocumentMerge(*application, *m_tokens).MergeDocAllFields(row, letter, preview);
            if (!merged.ok()) {
                return merged.error();
            }
            lastText = application->Open(preview, true).value()->ContentText().value();
            return preview;
        });
        fillRecipients();
        m_page->G1_Tab->setCurrentIndex(3);
        QVERIFY(lastText.startsWith(u"Dear Ann,"_s));
        QVERIFY(!m_page->OleAtWord->pixmap().isNull());
        QVERIFY(m_page->OleAtWord->pixmap().height() > 600);
        QElapsedTimer timer;
        timer.start();
        m_page->cboPAtTo->setCurrentIndex(1); // the bridge is warm now
        const qint64 elapsed = timer.elapsed();
        QVERIFY(lastText.startsWith(u"Dear ,"_s)); // no "Sir" inside the document
        qInfo("attachment preview of a warm office bridge: %lld ms", elapsed);
        QVERIFY2(elapsed < 1000, qPrintable(QString::number(elapsed)));
    }
};

QTEST_MAIN(ComposerTest)
#include "tst_composer.moc"
