#include "TestSupport.h"
#include "core/Dialogs.h"
#include "core/PageView.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "explorer/FrmFileList.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QTextBrowser>
#include <QToolButton>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

// By default a document the office suite cannot read: it looks like a package and is none.
void write(const QString& path, const QByteArray& content = "PK\x03\x04 no package")
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QVERIFY(TestSupport::writeFile(path, content));
}

QStringList names(const QTreeWidget* list)
{
    QStringList texts;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        texts << list->topLevelItem(i)->text(0);
    }
    return texts;
}

QString keyOf(const QTreeWidgetItem* item)
{
    return item->data(0, Qt::UserRole).toString();
}

} // namespace

// The main window on a folder tree of its own: the tree, the list, the preview, the history,
// the file and folder operations and the layouts, as a user meets them. One window serves
// every case, so that its office bridge for the previews starts once.
class ExplorerWindowTest : public QObject
{
    Q_OBJECT

    QString m_tree;
    FrmFileList* m_window = nullptr;

    QTreeWidget* tree() const { return m_window->tvList(); }
    QTreeWidget* list() const { return m_window->lvList(); }

    void go(const QString& address)
    {
        m_window->txtAddress()->setText(address);
        m_window->txtAddress_KeyPress(13);
    }

    QTreeWidgetItem* item(const QString& text) const
    {
        const QList<QTreeWidgetItem*> found = list()->findItems(text, Qt::MatchExactly);
        return found.isEmpty() ? nullptr : found.first();
    }

    void clickNode(QTreeWidgetItem* node)
    {
        tree()->scrollToItem(node);
        QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {}, tree()->visualItemRect(node).center());
        QCOMPARE(tree()->currentItem(), node);
    }

    void trigger(const QString& name) { m_window->findChild<QAction*>(name)->trigger(); }

    void click(const QString& name) { m_window->findChild<QToolButton*>(name)->click(); }

    // Types into the editor of an inline rename and ends the edit.
    void typeLabel(QTreeWidget* view, const QString& text)
    {
        auto* editor = view->viewport()->findChild<QLineEdit*>();
        QVERIFY(editor);
        editor->setText(text);
        // What Return in the editor does.
        emit view->itemDelegate()->commitData(editor);
        emit view->itemDelegate()->closeEditor(editor, QAbstractItemDelegate::SubmitModelCache);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    QString trashed(const QString& name) const
    {
        return qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/"_s + name;
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_tree = TestSupport::homeFolder() + u"/Tree"_s;
        QDir().mkpath(m_tree + u"/Letters"_s);
        QDir().mkpath(TestSupport::homeFolder() + u"/Documents"_s);
        QDir().mkpath(TestSupport::homeFolder() + u"/Desktop"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_tree + u"/Letters/Alpha.docx"_s));
        write(m_tree + u"/Letters/Beta.doc"_s);
        write(m_tree + u"/Letters/~$Alpha.docx"_s);
        write(m_tree + u"/Letters/notes.txt"_s);
        QDir().mkpath(m_tree + u"/Letters/Sub/Deeper"_s);
        QDir().mkpath(m_tree + u"/Empty"_s);
        QDir().mkpath(m_tree + u"/Other"_s);
        SettingsStore::instance().setValue(Keys::AddressBarFile, m_tree + u"/Letters/"_s);
        m_window = new FrmFileList;
        m_window->Form_Load([](const QString&) {});
        m_window->resize(1000, 700);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
    }

    void cleanupTestCase() { delete m_window; }

    void init() { Dialogs::clearNextResults(); }

    void typedAddresses_selectTheirNodes_andFillTheList()
    {
        // The stored address, with its trailing "/", is walked open at start; nothing is
        // previewed until the user picks a document.
        QCOMPARE(keyOf(tree()->currentItem()), m_tree + u"/Letters"_s);
        QCOMPARE(names(list()), (QStringList{u"Alpha"_s, u"Beta"_s}));
        QCOMPARE(m_window->SourceDoc(), QString());

        go(u"  my documents "_s);
        QCOMPARE(tree()->currentItem()->text(0), u"My Documents"_s);
        QCOMPARE(m_window->txtAddress()->text(), u"My Documents"_s);
        go(m_tree + u"/Empty"_s);
        QCOMPARE(keyOf(tree()->currentItem()), m_tree + u"/Empty"_s);
        QVERIFY(m_window->findChild<QLabel*>(u"lblNoItems"_s)->isVisible());
        // An address that is not there changes nothing.
        go(m_tree + u"/Nowhere"_s);
        QCOMPARE(keyOf(tree()->currentItem()), m_tree + u"/Empty"_s);
        // Go finds only nodes that exist, in any letter case.
        m_window->txtAddress()->setText((m_tree + u"/letters"_s).toUpper());
        click(u"lblGo"_s);
        QCOMPARE(keyOf(tree()->currentItem()), m_tree + u"/Letters"_s);
        QCOMPARE(m_window->SourceDoc(), m_tree + u"/Letters/Alpha.docx"_s);
    }

    void selection_previewsTheDocument_andABrokenOneSaysSo()
    {
        // Clicks faster than the office suite starts: the last one is shown.
        go(m_tree + u"/Letters"_s);
        list()->setCurrentItem(item(u"Beta"_s));
        list()->setCurrentItem(item(u"Alpha"_s));
        QCOMPARE(m_window->findChild<QLabel*>(u"lblFileName"_s)->text(), u"Alpha"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!m_window->picOle()->picture->pixmap().isNull(), 120000);
        QVERIFY(m_window->picOle()->picture->width() > 500); // a page at its printed size

        // The keyboard moves the preview on; a document the office suite cannot read says so.
        QTest::keyClick(list(), Qt::Key_Down);
        QCOMPARE(m_window->SourceDoc(), m_tree + u"/Letters/Beta.doc"_s);
        auto* state = m_window->findChild<QLabel*>(u"lblPreviewState"_s);
        QTRY_COMPARE_WITH_TIMEOUT(state->text(), u"This document cannot be previewed."_s, 120000);
        QVERIFY(state->isVisible());
        QVERIFY(m_window->picOle()->picture->pixmap().isNull());

        // Back on the first document, its page comes from the cache at once.
        list()->setCurrentItem(item(u"Alpha"_s));
        QVERIFY(!m_window->picOle()->picture->pixmap().isNull());
        QVERIFY(!state->isVisible());
    }

    void backForwardAndUp_onlySelectTheNodes()
    {
        go(m_tree + u"/Letters"_s);
        QTreeWidgetItem* letters = tree()->currentItem();
        QTreeWidgetItem* sub = letters->child(0);
        clickNode(letters);
        clickNode(sub);
        clickNode(sub->child(0));
        click(u"lblBack"_s);
        QCOMPARE(tree()->currentItem(), sub);
        QCOMPARE(m_window->txtAddress()->text(), m_tree + u"/Letters/Sub"_s);
        click(u"lblForward"_s);
        QCOMPARE(tree()->currentItem(), sub->child(0));
        click(u"lblUp"_s);
        QCOMPARE(tree()->currentItem(), sub);
        QCOMPARE(m_window->txtAddress()->text(), m_tree + u"/Letters/Sub"_s);
        // Only a click fills the list: it still shows the folder clicked last.
        QVERIFY(list()->topLevelItemCount() == 0);
        QCOMPARE(m_window->history().entries().last(), m_tree + u"/Letters/Sub/Deeper"_s); // the address left
    }

    void columnClicks_sortDescendingThenAscending()
    {
        go(m_tree + u"/Letters"_s);
        QHeaderView* header = list()->header();
        header->sectionClicked(0);
        QCOMPARE(names(list()), (QStringList{u"Beta"_s, u"Alpha"_s}));
        header->sectionClicked(0);
        QCOMPARE(names(list()), (QStringList{u"Alpha"_s, u"Beta"_s}));
    }

    void popupMenu_greysOpenAndRename_forSeveralDocuments()
    {
        go(m_tree + u"/Letters"_s);
        auto* menu = m_window->findChild<QMenu*>(u"mnuWordProperties"_s);
        trigger(u"MnuSelall"_s);
        emit list()->customContextMenuRequested(QPoint(5, 5));
        QTRY_VERIFY(menu->isVisible());
        QVERIFY(!menu->findChild<QAction*>(u"MnuOpen"_s)->isEnabled());
        QVERIFY(!menu->findChild<QAction*>(u"MnuRename"_s)->isEnabled());
        menu->hide();
        list()->setCurrentItem(item(u"Alpha"_s), 0, QItemSelectionModel::ClearAndSelect);
        emit list()->customContextMenuRequested(QPoint(5, 5));
        QVERIFY(menu->findChild<QAction*>(u"MnuRename"_s)->isEnabled());
        menu->hide();
    }

    void renames_needAName_keepTheKind_andRefuseATakenOne()
    {
        TestSupport::MessageRecorder messages;
        go(m_tree + u"/Letters"_s);
        list()->setCurrentItem(item(u"Beta"_s));
        trigger(u"MnuRename"_s);
        typeLabel(list(), QString());
        QCOMPARE(messages.texts(), QStringList{u"You must type a FileName"_s});
        QCOMPARE(messages.messages().last().title, u"Rename"_s);
        QVERIFY(item(u"Beta"_s));

        trigger(u"MnuRename"_s);
        typeLabel(list(), u"Gamma"_s);
        QVERIFY(QFile::exists(m_tree + u"/Letters/Gamma.doc"_s));
        QCOMPARE(keyOf(item(u"Gamma"_s)), m_tree + u"/Letters/Gamma.doc"_s);

        list()->setCurrentItem(item(u"Alpha"_s));
        trigger(u"MnuRename"_s);
        typeLabel(list(), u"Alpha renamed"_s);
        QVERIFY(QFile::exists(m_tree + u"/Letters/Alpha renamed.docx"_s)); // a .docx stays a .docx
        write(m_tree + u"/Letters/Taken.docx"_s, "taken");
        trigger(u"MnuRename"_s);
        typeLabel(list(), u"Taken"_s);
        QCOMPARE(messages.messages().size(), 2);
        QVERIFY(item(u"Alpha renamed"_s));
        QVERIFY(QFile::exists(m_tree + u"/Letters/Alpha renamed.docx"_s));
        QFile::remove(m_tree + u"/Letters/Taken.docx"_s);

        // A folder too needs a name.
        go(m_tree + u"/Other"_s);
        trigger(u"MnuFolderRename"_s);
        typeLabel(tree(), QString());
        QCOMPARE(messages.lastText(), u"You must type a Folder Name"_s);
        QCOMPARE(tree()->currentItem()->text(0), u"Other"_s);
        trigger(u"MnuFolderRename"_s);
        typeLabel(tree(), u"Others"_s);
        QVERIFY(QFileInfo(m_tree + u"/Others"_s).isDir());
        QCOMPARE(keyOf(tree()->currentItem()), m_tree + u"/Others"_s);
    }

    void deleteMoveAndCopy_ofDocuments()
    {
        TestSupport::MessageRecorder messages;
        write(m_tree + u"/Letters/Doomed.doc"_s, "doomed");
        go(m_tree + u"/Letters"_s);
        list()->setCurrentItem(item(u"Doomed"_s)); // previewed, so the preview must let go
        messages.answerNext(MessageAnswer::No);
        trigger(u"MnuDelete"_s);
        QVERIFY(QFile::exists(m_tree + u"/Letters/Doomed.doc"_s));
        trigger(u"MnuDelete"_s);
        QCOMPARE(messages.messages().last().text, u"Are you sure to delete the Selected file(s)"_s);
        QVERIFY(QFile::exists(trashed(u"Doomed.doc"_s)));
        QVERIFY(!item(u"Doomed"_s));
        QCOMPARE(m_window->SourceDoc(), QString());

        // Copy: once without a question, then asked, and Cancel keeps the copy there.
        const QString empty = m_tree + u"/Empty"_s;
        list()->setCurrentItem(item(u"Gamma"_s), 0, QItemSelectionModel::ClearAndSelect);
        Dialogs::setNextResult(empty);
        trigger(u"mnuCopyFile"_s);
        QVERIFY(QFile::exists(empty + u"/Gamma.doc"_s));
        write(empty + u"/Gamma.doc"_s, "changed copy");
        messages.clear();
        messages.answerNext(MessageAnswer::Cancel);
        Dialogs::setNextResult(empty);
        trigger(u"mnuCopyFile"_s);
        QCOMPARE(messages.texts(), QStringList{u"File Exists ,Want To Replace ?"_s});
        QCOMPARE(TestSupport::readFile(empty + u"/Gamma.doc"_s), QByteArray("changed copy"));

        // Move: a taken name says so and leaves both; the shown folder is no target.
        messages.clear();
        Dialogs::setNextResult(empty);
        trigger(u"mnuMoveFile"_s);
        QVERIFY(messages.lastText().contains(u"already exists"_s));
        QVERIFY(QFile::exists(m_tree + u"/Letters/Gamma.doc"_s));
        Dialogs::setNextResult(m_tree + u"/Letters"_s);
        trigger(u"mnuMoveFile"_s);
        QVERIFY(item(u"Gamma"_s));
        QFile::remove(empty + u"/Gamma.doc"_s);
        Dialogs::setNextResult(empty);
        trigger(u"mnuMoveFile"_s);
        QVERIFY(!item(u"Gamma"_s));
        QVERIFY(QFile::exists(empty + u"/Gamma.doc"_s));
    }

    void folderClipboard_copyCutPasteAndDelete()
    {
        TestSupport::MessageRecorder messages;
        go(m_tree + u"/Letters/Sub"_s);
        trigger(u"MnuCopyFolder"_s);
        go(m_tree + u"/Others"_s);
        QTreeWidgetItem* others = tree()->currentItem();
        trigger(u"MnuPasteFolder"_s);
        QVERIFY(QFileInfo(m_tree + u"/Others/Sub/Deeper"_s).isDir());
        QVERIFY(QFileInfo(m_tree + u"/Letters/Sub/Deeper"_s).isDir());
        QCOMPARE(tree()->currentItem()->text(0), u"Sub"_s); // the copy's node, selected

        // The copy goes to the Trash whole; its node goes with it.
        messages.answerNext(MessageAnswer::No);
        trigger(u"MnuFolderDelete"_s);
        QVERIFY(QFileInfo(m_tree + u"/Others/Sub"_s).isDir());
        trigger(u"MnuFolderDelete"_s);
        QCOMPARE(messages.messages().last().title, u"Delete"_s);
        QVERIFY(!QFileInfo::exists(m_tree + u"/Others/Sub"_s));
        QVERIFY(QFileInfo(trashed(u"Sub/Deeper"_s)).isDir());
        QCOMPARE(others->childCount(), 0);

        go(m_tree + u"/Letters/Sub"_s);
        trigger(u"MnuCutFolder"_s);
        go(m_tree + u"/Empty"_s);
        trigger(u"MnuPasteFolder"_s);
        QVERIFY(QFileInfo(m_tree + u"/Empty/Sub/Deeper"_s).isDir());
        QVERIFY(!QFileInfo::exists(m_tree + u"/Letters/Sub"_s));
        // A cut is pasted once.
        emit tree()->customContextMenuRequested(QPoint(1, 1));
        auto* menu = m_window->findChild<QMenu*>(u"MnuFolder"_s);
        QVERIFY(!menu->findChild<QAction*>(u"MnuPasteFolder"_s)->isEnabled());
        menu->hide();
    }

    void layouts_hideTheTree_widenThePreview_andComeBack()
    {
        auto* preview = m_window->picOle();
        auto* treeView = tree();
        trigger(u"MnuRstLayout"_s);
        const int normalWidth = preview->width();
        click(u"Pic1_0"_s);
        QCOMPARE(m_window->PreviewState(), u"Pressed"_s);
        QVERIFY(!treeView->isVisible());
        QVERIFY(preview->width() > normalWidth);
        click(u"Pic1_1"_s);
        QCOMPARE(m_window->PreviewState(), QString());
        QVERIFY(treeView->isVisible());

        // The preview under tree and list together, then back to the default layout.
        trigger(u"MnuBPPLayOut"_s);
        QVERIFY(preview->mapTo(m_window, QPoint(0, 0)).y() > treeView->mapTo(m_window, QPoint(0, 0)).y());
        trigger(u"MnuDefLayOut"_s);
        QCOMPARE(preview->width(), normalWidth);
    }

    void help_showsInAWindowOfItsOwn_withoutABrowser()
    {
        if (!QStandardPaths::findExecutable(u"xdg-open"_s).isEmpty()) {
            QProcess query;
            query.start(u"xdg-mime"_s, {u"query"_s, u"default"_s, u"text/html"_s});
            if (query.waitForFinished(3000) && !query.readAllStandardOutput().trimmed().isEmpty()) {
                QSKIP("this desktop has a browser, which shows the help instead");
            }
        }
        trigger(u"MnuWHelp"_s);
        auto* help = m_window->findChild<QTextBrowser*>(u"frmHelp"_s);
        QVERIFY(help);
        QVERIFY(help->isVisible());
        QVERIFY(!help->toPlainText().trimmed().isEmpty());
        help->close();
    }
};

QTEST_MAIN(ExplorerWindowTest)
#include "tst_explorer_window.moc"
