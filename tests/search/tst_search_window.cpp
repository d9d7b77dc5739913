#include "TestSupport.h"
#include "core/Dialogs.h"
#include "core/ListSeparator.h"
#include "core/SettingsKeys.h"
#include "search/FrmSearch.h"
#include "wordlink/DocumentEngine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

void touch(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("document");
}

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

    FrmSearch* openWindow()
    {
        m_window = FrmSearch::instance();
        m_window->show();
        return m_window;
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        touch(m_dir.filePath(u"invoice 2025.docx"_s));
        touch(m_dir.filePath(u"letter.doc"_s));
        touch(m_dir.filePath(u"readme.txt"_s));
        touch(m_dir.filePath(u"~$letter.doc"_s));
        touch(m_dir.filePath(u"old/invoice 2019.doc"_s));
    }

    void init()
    {
        TestSupport::resetSettings();
        Dialogs::clearNextResults();
    }

    void cleanup()
    {
        if (m_window) {
            m_window->close();
        }
        QTest::qWait(10);
    }

    void firstStart_isEmpty_andPatternsBuildTheirHistory()
    {
        FrmSearch* window = openWindow();
        QCOMPARE(window->windowTitle(), u"Quillbay+ : Search Documents"_s);
        QVERIFY(window->criteriaHistory().isEmpty());
        QCOMPARE(window->TxtFolder->text(), QString());

        window->TxtFolder->setText(m_dir.path());
        window->RunSearch(); // an empty name searches Word documents
        QCOMPARE(window->CboCriteria->currentText(), u"*.Doc"_s);
        QCOMPARE(names(window->lvList), (QStringList{u"invoice 2025.docx"_s, u"letter.doc"_s}));
        QCOMPARE(window->SbStatusPanel1->text(), u"2 items"_s);
        QVERIFY(window->criteriaHistory().isEmpty());

        window->ChkIncSubFolder->setChecked(true);
        window->CboCriteria->setEditText(u"invoice"_s);
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"invoice 2025.docx"_s, u"invoice 2019.doc"_s}));
        QCOMPARE(window->lvList->topLevelItem(1)->text(1), m_dir.filePath(u"old"_s));
        window->CboCriteria->setEditText(u"INVOICE"_s);
        window->RunSearch();
        QCOMPARE(window->criteriaHistory(), QStringList{u"invoice"_s});

        window->CboCriteria->setEditText(u"*.txt"_s);
        window->RunSearch();
        QVERIFY(window->lvList->topLevelItemCount() == 0);
        QCOMPARE(window->SbStatusPanel1->text(), u"0 Items"_s);
        QCOMPARE(window->txtNoItems->text(), u"There are no items to show in this view"_s);
        QCOMPARE(window->criteriaHistory(), QStringList{u"invoice"_s});

        window->close();
        QCOMPARE(GetSetting(u"Search"_s, u"Criteria"_s), u"invoice"_s + ListSeparator());
        QCOMPARE(GetSetting(u"Search"_s, u"FolderName"_s), m_dir.path());
        window = openWindow();
        QCOMPARE(window->criteriaHistory(), QStringList{u"invoice"_s});
        QCOMPARE(window->TxtFolder->text(), m_dir.path());
    }

    void newSearch_keepsTheHistory_andEnterStartsARun()
    {
        FrmSearch* window = openWindow();
        window->TxtFolder->setText(m_dir.path());
        window->CboCriteria->setEditText(u"letter"_s);
        QTest::keyClick(window->TxtFolder, Qt::Key_Return);
        QCOMPARE(names(window->lvList), QStringList{u"letter.doc"_s});
        window->CmdFind[3]->click();
        QCOMPARE(window->lvList->topLevelItemCount(), 0);
        QCOMPARE(window->TxtFolder->text(), QString());
        QCOMPARE(window->criteriaHistory(), QStringList{u"letter"_s});
        QTest::keyClick(window->txtwords, Qt::Key_Return); // no folder: nothing starts
        QCOMPARE(window->SbStatusPanel1->text(), QString());
    }

    void options_andButtons_followTheirRules()
    {
        FrmSearch* window = openWindow();
        QVERIFY(window->CmdFind[0]->isEnabled());
        QVERIFY(!window->CmdFind[1]->isEnabled());
        QVERIFY(!window->CmdFind[2]->isEnabled());
        window->chkReplace->click();
        QVERIFY(window->txtReplace->isEnabled());
        QVERIFY(!window->CmdFind[0]->isEnabled());
        QVERIFY(!window->CmdFind[1]->isEnabled());
        window->txtwords->setText(u"price"_s);
        QVERIFY(window->CmdFind[1]->isEnabled());
        window->chkReplace->click();
        QVERIFY(!window->txtReplace->isEnabled());

        window->chkOptions[0]->click();
        window->chkOptions[1]->click();
        window->chkOptions[2]->click();
        QVERIFY(!window->chkOptions[0]->isChecked());
        QVERIFY(!window->chkOptions[0]->isEnabled());
        QVERIFY(!window->chkOptions[1]->isChecked());
        window->chkOptions[2]->click();
        QVERIFY(window->chkOptions[0]->isEnabled());
        QVERIFY(!window->chkOptions[0]->isChecked()); // unchecking does not restore them
    }

    void words_areFoundInsideDocuments_withTheWindowsOptions()
    {
        QTemporaryDir dir;
        QVERIFY(TestSupport::makeDocx(u"plain"_s, dir.filePath(u"a.docx"_s), u"The annual Report|of the club"_s));
        QDir(dir.path()).mkdir(u"sub"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, dir.filePath(u"sub/b.docx"_s), u"Reports are due"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, dir.filePath(u"c.docx"_s), u"nothing here"_s));
        FrmSearch* window = openWindow();
        window->TxtFolder->setText(dir.path());
        window->ChkIncSubFolder->setChecked(true);
        window->txtwords->setText(u"  report "_s);
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"a.docx"_s, u"b.docx"_s}));
        QCOMPARE(GetSetting(u"WordStatus"_s, u"Running"_s), u"N"_s);
        window->chkOptions[0]->setChecked(true); // whole word
        window->RunSearch();
        QCOMPARE(names(window->lvList), QStringList{u"a.docx"_s});
        window->chkOptions[0]->setChecked(false);
        window->chkOptions[1]->setChecked(true); // match case
        window->RunSearch();
        QVERIFY(window->lvList->topLevelItemCount() == 0);
        window->chkOptions[2]->click(); // wildcards: case counts
        window->txtwords->setText(u"Rep?rt@"_s);
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"a.docx"_s, u"b.docx"_s}));
        window->ChkIncSubFolder->setChecked(false);
        window->RunSearch();
        QCOMPARE(names(window->lvList), QStringList{u"a.docx"_s});
    }

    void replace_backsUpEachChangedDocument_andLeavesTheOthersAlone()
    {
        QTemporaryDir dir;
        QVERIFY(TestSupport::makeDocx(u"plain"_s, dir.filePath(u"hit.docx"_s), u"Meeting in Leeds"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, dir.filePath(u"miss.docx"_s), u"Meeting in York"_s));
        const QDateTime untouched = QFileInfo(dir.filePath(u"miss.docx"_s)).lastModified();
        QFile miss(dir.filePath(u"miss.docx"_s));
        QVERIFY(miss.open(QIODevice::ReadOnly));
        const QByteArray missBytes = miss.readAll();
        miss.close();
        QTest::qWait(1100);

        FrmSearch* window = openWindow();
        window->TxtFolder->setText(dir.path());
        window->txtwords->setText(u"Leeds"_s);
        window->chkReplace->click();
        window->txtReplace->setText(u" Bradford"_s);
        QVERIFY(window->CmdFind[1]->isEnabled());
        window->CmdFind[1]->click();
        QCOMPARE(names(window->lvList), QStringList{u"hit.docx"_s});
        QVERIFY(window->SbStatusPanel2->text().startsWith(u"Originals kept in "_s));
        const QString backups = window->SbStatusPanel2->text().mid(18);
        QVERIFY(QFile::exists(backups + u"/hit.docx"_s));
        QVERIFY(!QFile::exists(backups + u"/miss.docx"_s));

        auto application = wordlink::NewApplication();
        QCOMPARE(application->Open(dir.filePath(u"hit.docx"_s), true).value()->ContentText().value(),
                 u"Meeting in  Bradford\r"_s);
        QCOMPARE(application->Open(backups + u"/hit.docx"_s, true).value()->ContentText().value(),
                 u"Meeting in Leeds\r"_s);
        QVERIFY(miss.open(QIODevice::ReadOnly));
        QCOMPARE(miss.readAll(), missBytes);
        QCOMPARE(QFileInfo(dir.filePath(u"miss.docx"_s)).lastModified(), untouched);
    }

    void delete_asks_thenMovesTheFilesToTheTrash()
    {
        TestSupport::MessageRecorder messages;
        QTemporaryDir dir;
        touch(dir.filePath(u"a.docx"_s));
        touch(dir.filePath(u"b.docx"_s));
        FrmSearch* window = openWindow();
        window->TxtFolder->setText(dir.path());
        window->RunSearch();
        QCOMPARE(window->lvList->topLevelItemCount(), 2);
        window->lvList->topLevelItem(0)->setSelected(true);
        messages.answerNext(MessageAnswer::No);
        window->MnuDelete_Click();
        QCOMPARE(messages.lastText(), u"Are you sure to delete selected file(s) ?"_s);
        QCOMPARE(messages.messages().last().icon, MessageIcon::Critical);
        QVERIFY(QFile::exists(dir.filePath(u"a.docx"_s)));
        window->MnuDelete_Click();
        QCOMPARE(names(window->lvList), QStringList{u"b.docx"_s});
        QVERIFY(!QFile::exists(dir.filePath(u"a.docx"_s)));
        QVERIFY(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/a.docx"_s));
    }
};

QTEST_MAIN(SearchWindowTest)
#include "tst_search_window.moc"
