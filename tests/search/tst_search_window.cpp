#include "TestSupport.h"
#include "core/Dialogs.h"
#include "core/ListSeparator.h"
#include "core/SettingsKeys.h"
#include "search/FrmSearch.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

QStringList names(const QTreeWidget* list)
{
    QStringList result;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        result << list->topLevelItem(i)->text(0);
    }
    return result;
}

} // namespace

class SearchWindowTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QPointer<FrmSearch> m_window;

    // The window shown, searching `folder` and its subfolders for `words`.
    FrmSearch* openWindow(const QString& folder = {}, const QString& words = {})
    {
        m_window = FrmSearch::instance();
        m_window->show();
        if (!folder.isEmpty()) {
            m_window->TxtFolder->setText(folder);
            m_window->ChkIncSubFolder->setChecked(true);
            m_window->txtwords->setText(words);
        }
        return m_window;
    }

    // Files of a few bytes, or Word documents of the given paragraphs ("name=text").
    static void plant(const QTemporaryDir& dir, const QStringList& files, int size = 8)
    {
        for (const QString& file : files) {
            const qsizetype equals = file.indexOf(u'=');
            QVERIFY(equals < 0
                        ? TestSupport::writeFile(dir.filePath(file), QByteArray(size, 'x'))
                        : TestSupport::makeDocx(u"plain"_s, dir.filePath(file.left(equals)), file.mid(equals + 1)));
        }
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        plant(m_dir,
              {u"invoice 2025.docx"_s, u"letter.doc"_s, u"readme.txt"_s, u"~$letter.doc"_s, u"old/invoice 2019.doc"_s});
    }

    void init()
    {
        TestSupport::resetSettings();
        Dialogs::clearNextResults();
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void cleanup()
    {
        if (m_window) {
            m_window->close();
        }
        QTest::qWait(10);
    }

    void patterns_buildTheirHistory_andEnterOrFindStartsARun()
    {
        FrmSearch* window = openWindow();
        window->TxtFolder->setText(m_dir.path());
        window->RunSearch(); // an empty name searches Word documents
        QCOMPARE(window->CboCriteria->currentText(), u"*.Doc"_s);
        QCOMPARE(names(window->lvList), (QStringList{u"invoice 2025.docx"_s, u"letter.doc"_s}));
        QCOMPARE(window->SbStatusPanel1->text(), u"2 items"_s);
        QVERIFY(window->criteriaHistory().isEmpty());

        window->ChkIncSubFolder->setChecked(true);
        window->CboCriteria->setEditText(u"invoice"_s);
        QTest::keyClick(window->CboCriteria, Qt::Key_Return);
        QCOMPARE(names(window->lvList), (QStringList{u"invoice 2025.docx"_s, u"invoice 2019.doc"_s}));
        QCOMPARE(window->lvList->topLevelItem(1)->text(1), m_dir.filePath(u"old"_s));
        window->CboCriteria->setEditText(u"INVOICE"_s);
        QTest::keyClick(window->TxtFolder, Qt::Key_Return);
        QCOMPARE(window->criteriaHistory(), QStringList{u"invoice"_s});

        window->CboCriteria->setEditText(u"*.txt"_s);
        window->RunSearch();
        QCOMPARE(window->SbStatusPanel1->text(), u"0 Items"_s);
        QCOMPARE(window->txtNoItems->text(), u"There are no items to show in this view"_s);

        // New Search empties the list and the folder; without a folder nothing starts.
        window->CmdFind[3]->click();
        QCOMPARE(window->lvList->topLevelItemCount(), 0);
        QCOMPARE(window->TxtFolder->text(), QString());
        window->CmdFind[0]->click();
        QCOMPARE(window->SbStatusPanel1->text(), QString());
        window->TxtFolder->setText(m_dir.path());
        window->CboCriteria->setEditText(u"letter"_s);
        QTest::keyClick(window->txtwords, Qt::Key_Enter);
        QCOMPARE(window->SbStatusPanel1->text(), u"1 items"_s);

        window->close();
        QCOMPARE(GetSetting(u"Search"_s, u"Criteria"_s),
                 u"invoice"_s + ListSeparator() + u"letter"_s + ListSeparator());
        QCOMPARE(GetSetting(u"Search"_s, u"FolderName"_s), m_dir.path());
        window = openWindow();
        QCOMPARE(window->criteriaHistory(), (QStringList{u"invoice"_s, u"letter"_s}));
        QCOMPARE(window->TxtFolder->text(), m_dir.path());
    }

    void wordsAndOptions_findInsideDocuments_andFollowTheirRules()
    {
        QTemporaryDir dir;
        plant(dir,
              {u"a.docx=The annual Report|of the club"_s, u"sub/b.docx=Reports are due"_s, u"c.docx=nothing here"_s});
        FrmSearch* window = openWindow(dir.path(), u"  report "_s);
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"a.docx"_s, u"b.docx"_s}));
        QCOMPARE(GetSetting(u"WordStatus"_s, u"Running"_s), u"N"_s);
        window->chkOptions[0]->setChecked(true); // whole word
        window->RunSearch();
        QCOMPARE(names(window->lvList), QStringList{u"a.docx"_s});
        window->chkOptions[1]->setChecked(true); // match case
        window->RunSearch();
        QCOMPARE(window->lvList->topLevelItemCount(), 0);
        // Wildcards clear and grey whole word and match case; unchecking does not restore them.
        window->chkOptions[2]->click();
        QVERIFY(!window->chkOptions[0]->isChecked() && !window->chkOptions[0]->isEnabled());
        QVERIFY(!window->chkOptions[1]->isChecked());
        window->txtwords->setText(u"Rep?rt@"_s);
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"a.docx"_s, u"b.docx"_s}));
        window->chkOptions[2]->click();
        QVERIFY(window->chkOptions[0]->isEnabled() && !window->chkOptions[0]->isChecked());

        // Replace needs words: Find and Replace stand greyed until there are some.
        window->txtwords->clear();
        window->chkReplace->click();
        QVERIFY(window->txtReplace->isEnabled());
        QVERIFY(!window->CmdFind[0]->isEnabled() && !window->CmdFind[1]->isEnabled());
        window->txtwords->setText(u"price"_s);
        QVERIFY(window->CmdFind[1]->isEnabled());
        window->chkReplace->click();
        QVERIFY(!window->txtReplace->isEnabled());
    }

    void replace_backsUpEachChangedDocument_andLeavesTheOthersAlone()
    {
        QTemporaryDir dir;
        plant(dir, {u"hit.docx=Meeting in Leeds"_s, u"miss.docx=Meeting in York"_s});
        // A Word 97 document goes through the office suite, which would rewrite an untouched one:
        // dated a day back, a rewritten one would carry the time of the run.
        const QString doc = dir.filePath(u"sub/miss.doc"_s);
        QVERIFY(wordlink::BridgeDocument::convert(dir.filePath(u"miss.docx"_s), doc).ok());
        const QDateTime dayBefore = QDateTime::currentDateTime().addDays(-1);
        QFile file(doc);
        QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(dayBefore, QFileDevice::FileModificationTime));
        const QByteArray before = file.readAll();
        file.close();

        FrmSearch* window = openWindow(dir.path(), u" Leeds "_s);
        window->chkReplace->click();
        window->txtReplace->setText(u" Bradford"_s);
        window->CmdFind[1]->click();
        QCOMPARE(names(window->lvList), QStringList{u"hit.docx"_s});
        QVERIFY(window->SbStatusPanel2->isVisible());
        QVERIFY(window->SbStatusPanel2->text().startsWith(u"Originals kept in "_s));
        const QString backups = window->SbStatusPanel2->text().mid(18);
        QVERIFY(QFile::exists(backups + u"/hit.docx"_s));
        QVERIFY(!QFile::exists(backups + u"/sub/miss.doc"_s));
        auto application = wordlink::NewApplication();
        QCOMPARE(application->Open(dir.filePath(u"hit.docx"_s), true).value()->ContentText().value(),
                 u"Meeting in  Bradford\r"_s);
        QCOMPARE(TestSupport::readFile(doc), before);
        QCOMPARE(QFileInfo(doc).lastModified(), dayBefore);

        // Leaving replace mode, the second panel goes with the next run.
        window->chkReplace->click();
        window->RunSearch();
        QVERIFY(!window->SbStatusPanel2->isVisible());
    }

    void stop_endsTheRunAfterTheCurrentFolder_withTheControlsLockedMeanwhile()
    {
        QTemporaryDir dir;
        plant(dir, {u"top.docx=budget"_s, u"a/deeper.docx=budget"_s});
        FrmSearch* window = openWindow(dir.path(), u"budget"_s);
        QStringList during;
        // Runs at the walk's first turn of the event loop, before the first folder's files.
        QTimer::singleShot(0, window, [&] {
            for (QWidget* control : std::initializer_list<QWidget*>{
                     window->CboCriteria, window->TxtFolder, window->txtwords, window->txtReplace, window->CmdFind[0],
                     window->CmdFind[1], window->CmdFind[3], window->ChkIncSubFolder, window->chkReplace,
                     window->chkOptions[0], window->chkOptions[2]}) {
                if (control->isEnabled()) {
                    during << control->objectName();
                }
            }
            during << (window->CmdFind[2]->isEnabled() ? u"stop on"_s : u"stop off"_s)
                   << GetSetting(u"WordStatus"_s, u"Running"_s) << window->txtNoItems->text();
            QTest::keyClick(window->txtwords, Qt::Key_Return); // locked: no second run
            window->CmdFind[2]->click();
        });
        window->RunSearch();
        QCOMPARE(during, (QStringList{u"stop on"_s, u"Y"_s, u"Searching..."_s}));
        QCOMPARE(names(window->lvList), QStringList{u"top.docx"_s});
        QCOMPARE(GetSetting(u"WordStatus"_s, u"Running"_s), u"N"_s);
        QVERIFY(window->CboCriteria->isEnabled());

        // Without words no document is opened, and the flag stays as it was.
        SaveSetting(u"WordStatus"_s, u"Running"_s, u"unchanged"_s);
        window->txtwords->clear();
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"top.docx"_s, u"deeper.docx"_s}));
        QCOMPARE(GetSetting(u"WordStatus"_s, u"Running"_s), u"unchanged"_s);

        // Closing the window during a run stops it, and the window closes when the run has ended.
        QTimer::singleShot(0, window, [window] { window->close(); });
        window->RunSearch();
        QCOMPARE(names(window->lvList), QStringList{u"top.docx"_s});
        QTRY_VERIFY(m_window.isNull());
        QCOMPARE(GetSetting(u"Search"_s, u"FolderName"_s), dir.path());
    }

    void list_sortsByText_showsTheDateTooltipAndItsMenu_andDeleteMovesFilesToTheTrash()
    {
        TestSupport::MessageRecorder messages;
        QTemporaryDir dir;
        plant(dir, {u"b.docx"_s}, 9 * 1024);
        plant(dir, {u"a.doc"_s}, 10 * 1024);
        plant(dir, {u"sub/c.doc"_s}, 100);
        FrmSearch* window = openWindow(dir.path());
        QHeaderView* header = window->lvList->header();
        const auto clickHeader = [header](int column) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                              QPoint(header->sectionViewportPosition(column) + 5, header->height() / 2));
        };
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"a.doc"_s, u"b.docx"_s, u"c.doc"_s}));
        clickHeader(0);
        QCOMPARE(names(window->lvList), (QStringList{u"c.doc"_s, u"b.docx"_s, u"a.doc"_s}));
        clickHeader(3); // each click turns the order round; sizes compare as text
        QCOMPARE(header->sortIndicatorOrder(), Qt::AscendingOrder);
        QCOMPARE(names(window->lvList), (QStringList{u"c.doc"_s, u"a.doc"_s, u"b.docx"_s})); // "0 KB" "10 KB" "9 KB"
        window->RunSearch(); // the list stays sorted for later runs
        QCOMPARE(names(window->lvList), (QStringList{u"c.doc"_s, u"a.doc"_s, u"b.docx"_s}));

        QTreeWidgetItem* first = window->lvList->topLevelItem(0);
        QTest::mouseClick(window->lvList->viewport(), Qt::LeftButton, {},
                          window->lvList->visualItemRect(first).center());
        QCOMPARE(first->toolTip(0), u"Date Modified :"_s + first->text(2));

        // The menu opens on a list with rows; Open wants a selected one.
        QAction* open = window->MnuOperations->findChild<QAction*>(u"mnuOpenDoc"_s);
        const auto rightClick = [window] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5),
                                    window->lvList->viewport()->mapToGlobal(QPoint(5, 5)));
            QApplication::sendEvent(window->lvList->viewport(), &event);
            const bool shown = window->MnuOperations->isVisible();
            window->MnuOperations->close();
            return shown;
        };
        QVERIFY(rightClick() && open->isEnabled());
        window->lvList->clearSelection();
        QVERIFY(rightClick() && !open->isEnabled());

        // Delete asks first, then moves the selected files to the desktop's Trash.
        window->lvList->topLevelItem(0)->setSelected(true);
        messages.answerNext(MessageAnswer::No);
        window->MnuDelete_Click();
        QCOMPARE(messages.lastText(), u"Are you sure to delete selected file(s) ?"_s);
        QCOMPARE(messages.messages().last().icon, MessageIcon::Critical);
        QVERIFY(QFile::exists(dir.filePath(u"sub/c.doc"_s)));
        window->MnuDelete_Click();
        QCOMPARE(names(window->lvList), (QStringList{u"a.doc"_s, u"b.docx"_s}));
        QVERIFY(!QFile::exists(dir.filePath(u"sub/c.doc"_s)));
        QVERIFY(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/c.doc"_s));
        // A file that is gone already cannot be deleted: its row stays, and the user is told.
        QVERIFY(QFile::remove(dir.filePath(u"a.doc"_s)));
        window->lvList->clearSelection();
        window->lvList->topLevelItem(0)->setSelected(true);
        window->MnuDelete_Click();
        QCOMPARE(names(window->lvList), (QStringList{u"a.doc"_s, u"b.docx"_s}));
        QVERIFY(messages.lastText().contains(u"no longer exists"_s));
        window->lvList->clearSelection();
        const qsizetype asked = messages.messages().size();
        window->MnuDelete_Click(); // nothing selected: no question
        QCOMPARE(messages.messages().size(), asked);
        window->CmdFind[3]->click();
        QVERIFY(!rightClick()); // an empty list shows no menu
    }
};

QTEST_MAIN(SearchWindowTest)
#include "tst_search_window.moc"
