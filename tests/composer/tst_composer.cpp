#include "TestSupport.h"
#include "composer/ColorFrame.h"
#include "composer/ComposePage.h"
#include "composer/ComposerToolbar.h"
#include "contacts/ContactTable.h"
#include "core/AppPaths.h"
#include "core/DesktopTheme.h"
#include "core/Dialogs.h"
#include "core/PageView.h"
#include "core/SettingsKeys.h"
#include "delivery/InlineImages.h"
#include "merge/DocumentMerge.h"
#include "merge/TokenEngine.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QStyleOptionToolButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
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

    // A new composer as the wizard shows it, in its room inside the wizard.
    void openPage()
    {
        m_page = std::make_unique<ComposePage>();
        m_page->resize(730, 420);
        m_page->show();
        m_page->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_page.get()));
        m_page->InitComposer();
        m_page->setMergeSources(m_tokens.get(), {});
    }

    // The recipient lists of both previews, as the wizard fills them with the first rows.
    void fillRecipients(int rows)
    {
        for (int row = 1; row <= rows; ++row) {
            m_page->CboPTo->addItem(m_table.cell(row, 0));
            m_page->CboPIndex->addItem(QString::number(row));
            m_page->cboPAtTo->addItem(m_table.cell(row, 0));
            m_page->CboPAtIndex->addItem(QString::number(row));
        }
        m_page->CboPTo->setCurrentIndex(-1);
        m_page->cboPAtTo->setCurrentIndex(-1);
    }

    QToolButton* button(const QString& key) const { return m_page->TbEdit->button(key); }

    // A real press of the mouse in the drop-down area right of a colour button.
    void pressDropDown(const QString& key)
    {
        QToolButton* colour = button(key);
        QStyleOptionToolButton option;
        option.initFrom(colour);
        option.features = QStyleOptionToolButton::MenuButtonPopup | QStyleOptionToolButton::HasMenu;
        option.subControls = QStyle::SC_ToolButton | QStyle::SC_ToolButtonMenu;
        const QRect area =
            colour->style()->subControlRect(QStyle::CC_ToolButton, &option, QStyle::SC_ToolButtonMenu, colour);
        QTest::mouseClick(colour, Qt::LeftButton, {}, area.center());
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        useDesktopIconTheme();
        for (const QStringList& contact : {QStringList{u"ann@example.com"_s, u"Ann"_s, u"M-17"_s},
                                           QStringList{u"nobody@example.com"_s, QString(), u""_s},
                                           QStringList{u"cy@example.com"_s, u"Cy"_s, u"M-40"_s}}) {
            std::array<QString, 16> cells;
            cells[0] = contact[0];
            cells[1] = contact[1];
            cells[13] = contact[2];
            m_table.addRow(cells);
        }
        m_table.setCustomHeading(13, u"Member"_s);
        m_tokens = std::make_unique<TokenEngine>(m_table);
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void init()
    {
        TestSupport::resetSettings();
        Dialogs::clearNextResults();
        m_tokens->setSourceIndex(5);
        openPage();
    }

    void cleanup() { m_page.reset(); }

    void theColourDropDowns_openTheFrameForTheirColour_andItsSwatchesApply()
    {
        QTest::mouseClick(m_page->dhtCompose->viewport(), Qt::LeftButton);
        m_page->dhtCompose->setPlainText(u"one two"_s);
        m_page->dhtCompose->selectAll();
        pressDropDown(u"HColor"_s);
        QCOMPARE(m_page->framColor->tag(), u"HC"_s);
        QTest::mouseClick(m_page->framColor->lblColor[9], Qt::LeftButton); // yellow
        QVERIFY(!m_page->framColor->isVisible());
        QVERIFY(m_page->DocumentHTML().contains(u"background-color:#ffff00"_s));

        pressDropDown(u"Color"_s);
        QCOMPARE(m_page->framColor->tag(), u"C"_s);
        Dialogs::setNextResult(u"#123456"_s);
        QTest::mouseClick(m_page->framColor->cmdMoreColors, Qt::LeftButton);
        QVERIFY(m_page->DocumentHTML().contains(u"color:#123456"_s));

        // A press on the button itself applies its colour to the selection, with no frame.
        m_page->dhtCompose->setPlainText(u"three"_s);
        m_page->dhtCompose->selectAll();
        QTest::mouseClick(button(u"Color"_s), Qt::LeftButton, {}, QPoint(6, button(u"Color"_s)->height() / 2));
        QVERIFY(!m_page->framColor->isVisible());
        QVERIFY(m_page->DocumentHTML().contains(u"color:#123456"_s));
    }

    void aField_goesToTheCaretInTheBoxesFont_andLeavesTheClipboardAsItWas()
    {
        // The custom fields of a mapped source are offered by their headings.
        QMenu* menu = m_page->MnuMergeFlds();
        m_page->PrepareFieldMenu(true, {u"Member"_s, u"Region"_s, u"Since"_s});
        QCOMPARE(menu->findChild<QAction*>(u"MnuCus2"_s)->text(), u"Region"_s);
        m_page->lblMergeFields_Click();
        QVERIFY(QTest::qWaitFor([menu] { return menu->isVisible(); }, 2000));
        menu->close();

        auto* held = new QMimeData;
        held->setText(u"the user's own text"_s);
        QImage picture(4, 4, QImage::Format_RGB32);
        picture.fill(Qt::green);
        held->setImageData(picture);
        QApplication::clipboard()->setMimeData(held);
        m_page->dhtCompose->setPlainText(u"Dear ,"_s);
        QTextCursor cursor = m_page->dhtCompose->textCursor();
        cursor.setPosition(5);
        m_page->dhtCompose->setTextCursor(cursor);
        m_page->cboFontSize->setCurrentText(u"4"_s);
        menu->findChild<QAction*>(u"MnuFirstName"_s)->trigger();
        menu->findChild<QAction*>(u"MnuCus1"_s)->trigger();
        QCOMPARE(m_page->dhtCompose->toPlainText(), u"Dear [[FirstName]]\t[[Member]]\t,"_s);
        cursor.setPosition(7);
        QCOMPARE(cursor.charFormat().fontPointSize(), 14.0);
        QCOMPARE(cursor.charFormat().fontFamilies().toStringList().value(0), m_page->cboFont->currentText());
        QVERIFY(m_page->txtSource->toPlainText().contains(u"[[Member]]"_s));
        QVERIFY(m_page->previewStale());
        QCOMPARE(QApplication::clipboard()->text(), u"the user's own text"_s);
        QVERIFY(QApplication::clipboard()->mimeData()->hasImage());
    }

    void theSourceTab_showsTheHtml_andItsEditsComeBack()
    {
        m_page->setDocumentHTML(u"<p>First</p>"_s);
        m_page->G1_Tab->setCurrentIndex(1);
        QVERIFY(m_page->txtSource->toPlainText().contains(u"First"_s));
        m_page->txtSource->setPlainText(u"<html><body><h2>Changed</h2><p>in the source</body>"_s);
        m_page->G1_Tab->setCurrentIndex(0);
        QCOMPARE(m_page->dhtCompose->toPlainText().trimmed(), u"Changed\nin the source"_s);
    }

    void toolbarCommands_writeTheirFormattingIntoTheHtml()
    {
        m_page->dhtCompose->setPlainText(u"one\ntwo"_s);
        m_page->dhtCompose->selectAll();
        QTest::mouseClick(button(u"Bold"_s), Qt::LeftButton);
        // Each command in turn, and a mark of the HTML it leaves (or takes away).
        const struct
        {
            QString key;
            QString mark;
            bool present;
        } steps[] = {
            {u"Italic"_s, u"font-style:italic"_s, true},
            {u"UnderLine"_s, u"text-decoration: underline"_s, true},
            {u"Center"_s, u"align=\"center\""_s, true},
            {u"Numbers"_s, u"<ol"_s, true},
            {u"Numbers"_s, u"<ol"_s, false},
            {u"Bullets"_s, u"<ul"_s, true},
            {u"Indent"_s, u"-qt-list-indent: 2"_s, true},
            {u"Outdent"_s, u"-qt-list-indent: 1"_s, true},
            {u"Right"_s, u"align=\"right\""_s, true},
        };
        for (const auto& step : steps) {
            m_page->TbEdit_ButtonClick(step.key);
            QVERIFY2(m_page->DocumentHTML().contains(step.mark) == step.present, qPrintable(step.key));
        }
        QVERIFY(m_page->DocumentHTML().contains(u"font-weight:700"_s));

        m_page->dhtCompose->moveCursor(QTextCursor::End);
        Dialogs::setNextResult(u"https://example.org/club"_s);
        m_page->TbEdit_ButtonClick(u"Link"_s);
        QVERIFY(m_page->DocumentHTML().contains(u"href=\"https://example.org/club\""_s));

        // A picture is referenced by its absolute path, in a form the mail run and the preview
        // find the file by, also with blanks and letters beyond ASCII in its name.
        QImage blue(8, 8, QImage::Format_RGB32);
        blue.fill(Qt::blue);
        const QString png = m_dir.filePath(u"club logo ö.png"_s);
        QVERIFY(blue.save(png, "PNG"));
        Dialogs::setNextResult(png);
        m_page->TbEdit_ButtonClick(u"Picture"_s);
        const QString html = m_page->DocumentHTML();
        QVERIFY(html.contains(u"src=\"file://"_s + png + u"\""_s));
        const auto embedded = InlineImages::Embed(html);
        QCOMPARE(embedded.InlineImageList, png);
        QVERIFY(embedded.html.contains(u"src=cid:club logo ö.png"_s));
        fillRecipients(1);
        m_page->G1_Tab->setCurrentIndex(2);
        const QVariant shown =
            m_page->dhtPreview->document()->resource(QTextDocument::ImageResource, QUrl(u"file://"_s + png));
        QCOMPARE(shown.value<QImage>().size(), blue.size());
        m_page->G1_Tab->setCurrentIndex(0);
        m_page->TbEdit_ButtonClick(u"UNDO"_s);
        QVERIFY(!m_page->DocumentHTML().contains(u"<img"_s));
    }

    void openAndSave_checkTheirNames()
    {
        TestSupport::MessageRecorder messages;
        Dialogs::setNextResult(m_dir.filePath(u"notes.txt"_s));
        m_page->OpenHtmlFile();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        QVERIFY(!m_page->previewStale());
        const QString page = m_dir.filePath(u"Letter.HTM"_s);
        QVERIFY(TestSupport::writeFile(page, "<p>Gr\xFC\xDF Gott</p>")); // an older page in its code page
        Dialogs::setNextResult(page);
        m_page->OpenHtmlFile();
        QCOMPARE(messages.messages().size(), 1);
        QCOMPARE(m_page->dhtCompose->toPlainText(), u"Grüß Gott"_s);
        QVERIFY(m_page->previewStale());
        const QString saved = m_dir.filePath(u"saved.htm"_s);
        Dialogs::setNextResult(saved);
        m_page->SaveHtmlFile();
        QCOMPARE(QString::fromUtf8(TestSupport::readFile(saved)), m_page->DocumentHTML() + u'\n');
        QCOMPARE(m_page->txtSource->property("Tag").toString(), saved);
    }

    void thePreview_walksTheContacts_andStopsAtBothEnds()
    {
        m_page->setDocumentHTML(u"<p>Dear [[FirstName]] ([[Email1Address]]) [[Member]]</p>"_s);
        fillRecipients(3);
        QVERIFY(m_page->dhtPreview->toPlainText().isEmpty()); // filling the list is no choice
        m_page->G1_Tab->setCurrentIndex(2);
        QCOMPARE(m_page->TxtPScrl->text(), u"1"_s);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Dear Ann (ann@example.com) M-17"_s);
        m_page->ImgSrl_Click(1);
        // The blank-field text stands in for a missing first name.
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Dear Sir (nobody@example.com) "_s);
        m_page->ImgSrl_Click(3);
        QCOMPARE(m_page->TxtPScrl->text(), u"3"_s);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Dear Cy (cy@example.com) M-40"_s);
        m_page->ImgSrl_Click(2);
        QCOMPARE(m_page->TxtPScrl->text(), u"1"_s);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"Dear Ann (ann@example.com) M-17"_s);

        // A changed text is merged again when the tab is entered again.
        m_page->G1_Tab->setCurrentIndex(0);
        QTest::keyClicks(m_page->dhtCompose, u"!"_s);
        m_page->G1_Tab->setCurrentIndex(2);
        QCOMPARE(m_page->dhtPreview->toPlainText(), u"!Dear Ann (ann@example.com) M-17"_s);
    }

    void theAttachmentPreview_showsTheChosenContactsFirstPage_andNoPageWhenItsCopyFails()
    {
        const QString letter = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, letter)); // two pages
        const QString preview = AppPaths::file(u"DocPreview.docx"_s);
        QList<int> merged;
        bool fail = false;
        m_page->setMergeSources(m_tokens.get(), [&](int row) -> Result<QString> {
            merged << row;
            if (fail) {
                return Error{1, u"no copy"_s};
            }
            auto application = wordlink::NewApplication();
            const Status made = DocumentMerge(*application, *m_tokens).MergeDocAllFields(row, letter, preview);
            return made.ok() ? Result<QString>(preview) : Result<QString>(made.error());
        });
        fillRecipients(3);
        QVERIFY(merged.isEmpty()); // filling the list merges nothing
        m_page->G1_Tab->setCurrentIndex(3);
        QCOMPARE(merged, QList<int>{1});
        PageView* view = m_page->PicOleAt;
        const QImage first = view->picture->pixmap().toImage();
        QVERIFY(!first.isNull());

        // Another contact: its own page.
        m_page->cboPAtTo->setCurrentIndex(1);
        QCOMPARE(merged, (QList<int>{1, 2}));
        QVERIFY(view->picture->pixmap().toImage() != first);
        QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);

        // A contact whose copy cannot be made shows no page, not the last contact's.
        fail = true;
        m_page->cboPAtTo->setCurrentIndex(2);
        QVERIFY(!view->hasPage());
    }
};

QTEST_MAIN(ComposerTest)
#include "tst_composer.moc"
