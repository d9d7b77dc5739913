#include "TestSupport.h"
#include "WizardFixture.h"
#include "composer/ComposePage.h"
#include "core/Dialogs.h"
#include "core/SettingsKeys.h"
#include "wizard/ui/ContactListView.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/ProgressPanel.h"
#include "wizard/ui/WizardPages.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QToolButton>

using namespace Qt::StringLiterals;

class WizardFlowTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_commaFile;
    // Close on a page past the first asks its question; No keeps the wizard on that page.
    void refuseClose(TestSupport::MessageRecorder& messages)
    {
        const int page = m_wizard->currentPage();
        const qsizetype asked = messages.messages().size();
        messages.answerNext(MessageAnswer::No);
        m_wizard->cmdCancel_Click();
        QCOMPARE(messages.messages().size(), asked + 1);
        QCOMPARE(messages.lastText(), u"Are you sure to Exit from this wizard?"_s);
        QCOMPARE(m_wizard->currentPage(), page);
        QVERIFY(m_wizard->isVisible());
    }

    void goToContacts()
    {
        chooseCommaFile(m_commaFile);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_commaFile = m_dir.filePath(u"members.csv"_s);
        QVERIFY(TestSupport::writeFile(m_commaFile, "Name,Email,Company,Member\r\n"
                                                    "Ann,ann@example.com,Acme,M-1\r\n"
                                                    "Bj\xC3\xB6rn,bjorn@example.com,\"Nord, AB\",M-2\r\n"
                                                    "Cy,cy@example.com,Ceta,M-3\r\n"
                                                    "Dee,\"dee@example.com,Delta\r\n"
                                                    "Eve,eve@example.com,,M-5\r\n"));
    }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    void commaFile_toMap_toContacts_toTemplate()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        QVERIFY(!m_wizard->CmdBack()->isEnabled());
        chooseCommaFile(m_commaFile);
        QCOMPARE(m_wizard->sourcePage()->txtWabfile->text(), m_commaFile);

        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        FieldMapPage* map = m_wizard->fieldMapPage();
        QCOMPARE(map->CboField[0]->currentText(), u"Name"_s);
        QCOMPARE(map->CboField[12]->currentText(), u"Email"_s);
        QCOMPARE(map->CboField[3]->currentText(), u"Company"_s);
        QCOMPARE(map->CboField[1]->currentText(), QString());
        QCOMPARE(map->txtCustom[0]->text(), u"Custom Field 1"_s);
        QCOMPARE(map->TxtBlank[0]->text(), u"Sir"_s);
        map->ChkSkip->click();

        // The user maps the member column onto the first custom field and renames it.
        map->CboField[13]->setCurrentIndex(3);
        emit map->CboField[13]->activated(3);
        map->txtCustom[0]->setText(u"Member No"_s);
        emit map->txtCustom[0]->textEdited(u"Member No"_s);
        QCOMPARE(m_wizard->fieldMap().listIndex[13], 3);
        // Typed text maps a column only when it is one, letter for letter.
        QLineEdit* typed = map->CboField[14]->lineEdit();
        QTest::keyClicks(typed, u"member"_s);
        QTest::keyClick(typed, Qt::Key_Return);
        QCOMPARE(m_wizard->fieldMap().listIndex[14], -1);
        QCOMPARE(m_wizard->fieldMap().text[14], u"member"_s);
        typed->clear();
        QTest::keyClicks(typed, u"Member"_s);
        QTest::keyClick(typed, Qt::Key_Return);
        QCOMPARE(m_wizard->fieldMap().listIndex[14], 3);
        map->CboField[14]->setEditText(QString());

        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        ContactTable& table = m_wizard->contactTable();
        // The unterminated quote of Dee's line adds no row; the import goes on behind it.
        QCOMPARE(table.count(), 4);
        QCOMPARE(table.cell(2, 1), u"Björn"_s);
        QCOMPARE(table.cell(2, 4), u"Nord, AB"_s);
        QCOMPARE(table.cell(4, 0), u"eve@example.com"_s);
        QCOMPARE(table.cell(1, 13), u"M-1"_s);
        QCOMPARE(table.heading(13), u"Member No"_s);
        QCOMPARE(m_wizard->contactsPage()->lblTopContacts->text(), u"Total Contacts : 4"_s);
        QCOMPARE(m_wizard->selection().SelectedCount(), 4);
        QVERIFY(m_wizard->mapImported());
        QCOMPARE(GetSetting(u"CommaValues"_s, u"13CD"_s), u"Member"_s);
        QCOMPARE(GetSetting(u"CommaValues"_s, u"TxtComaFile"_s), m_commaFile);

        // Untick two rows as the user does: the model flips the box and reports it.
        table.setData(table.index(0, 0), Qt::Unchecked, Qt::CheckStateRole);
        table.setData(table.index(2, 0), Qt::Unchecked, Qt::CheckStateRole);
        QCOMPARE(m_wizard->selection().SelectedCount(), 2);

        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
        QCOMPARE(m_wizard->CmdNext()->text(), u"Next>>"_s);
        QVERIFY(m_wizard->lblTotContacts()->isVisible());
        QCOMPARE(m_wizard->lblTotContacts()->text(), u"Selected Contacts : 2"_s);
        QVERIFY(m_wizard->CmdBack()->isEnabled());
        QVERIFY(messages.messages().isEmpty());

        // Mail without attachment: the composer, whose recipient lists hold the checked rows.
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Compose));
        QCOMPARE(m_wizard->composePage()->CboPTo->count(), 2);
        QCOMPARE(m_wizard->composePage()->CboPTo->itemText(0), u"bjorn@example.com"_s);
        QCOMPARE(m_wizard->composePage()->CboPIndex->itemText(1), u"4"_s);
        QVERIFY(!m_wizard->composePage()->G1_Tab->isTabEnabled(3));
        QVERIFY(m_wizard->composePage()->MnuMergeFlds()->findChild<QAction*>(u"MnuCus1"_s)->isVisible());
        QCOMPARE(m_wizard->composePage()->MnuMergeFlds()->findChild<QAction*>(u"MnuCus1"_s)->text(), u"Member No"_s);

        // A subject of blanks passes the check.
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Please Specify a Subject"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Compose));
        m_wizard->composePage()->txtSubject->setText(u"   "_s);
        m_wizard->composePage()->dhtCompose->setHtml(u"<p>Dear [[FirstName]] ([[Member No]])</p>"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::SendWay));
        QCOMPARE(m_wizard->CmdNext()->text(), u"Start"_s);
        QVERIFY(m_wizard->tokens().mailTokens().contains(u"[[Member No]]"_s));
        QCOMPARE(m_wizard->sendPage()->txtselected[1]->text(), u"2 Contacts"_s);

        // And back again, page by page, to the source; Close asks on each page on the way.
        refuseClose(messages);
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Compose));
        QCOMPARE(m_wizard->CmdNext()->text(), u"Next>>"_s);
        refuseClose(messages);
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
        refuseClose(messages);
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        refuseClose(messages);
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        refuseClose(messages);
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        QVERIFY(!m_wizard->CmdBack()->isEnabled());
        QVERIFY(!m_wizard->lblTotContacts()->isVisible());

        // The same file again: its columns are on the map page already, and the rows stand.
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->contactTable().count(), 4);
        QVERIFY(!m_wizard->contactTable().at(1).checked);
        // The checks stay, while the count is set to the row count again on the way.
        QCOMPARE(m_wizard->selection().SelectedCount(), 4);
    }

    void sourceAndMapPages_reportUserMistakes()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        m_wizard->sourcePage()->LstDataSrc->setCurrentRow(4);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Choose a Valid file!"_s);
        m_wizard->sourcePage()->txtWabfile->setText(m_dir.filePath(u"missing.txt"_s));
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"File Doesn't Exists"_s);
        Dialogs::setNextResult(m_dir.filePath(u"members.csv"_s)); // a tab source takes .txt only
        m_wizard->sourcePage()->CmdBrowseWab->click();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));

        // A typed path is not checked for its ending; "Clear Map" then refuses the import.
        const QString tabFile = m_dir.filePath(u"list.tsv"_s);
        QVERIFY(TestSupport::writeFile(tabFile, "First\tEMAIL\r\nAnn\tann@x.org\r\n"));
        m_wizard->sourcePage()->txtWabfile->setText(tabFile);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        m_wizard->fieldMapPage()->CboField[13]->setCurrentIndex(0);
        emit m_wizard->fieldMapPage()->CboField[13]->activated(0);
        m_wizard->fieldMapPage()->CmdClear->click();
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Please Map any Field"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        m_wizard->fieldMapPage()->CmdDefault->click();
        QCOMPARE(m_wizard->fieldMapPage()->CboField[12]->currentText(), u"EMAIL"_s);

        // "Skip First Row" unchecked makes the header line a contact too.
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->contactTable().count(), 2);
        QCOMPARE(m_wizard->contactTable().cell(1, 0), u"EMAIL"_s);
        m_wizard->CmdBack_Click();
        m_wizard->fieldMapPage()->ChkSkip->click();
        QVERIFY(!m_wizard->mapImported());
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->contactTable().count(), 1);

        // Nothing checked: Next stays, with its message.
        m_wizard->contactsPage()->lblSel->linkActivated(u"#"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Select Any Contact"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
    }

    void sourcePanel_keepsEachFileKindItsOwnPath()
    {
        openWizard();
        SourcePage* source = m_wizard->sourcePage();
        source->LstDataSrc->setCurrentRow(4);
        source->txtWabfile->setText(u"/lists/tab.txt"_s);
        source->LstDataSrc->setCurrentRow(5);
        QCOMPARE(source->txtWabfile->text(), QString());
        source->txtWabfile->setText(u"  /lists/members.csv "_s);
        source->LstDataSrc->setCurrentRow(2);
        QCOMPARE(source->panels->currentWidget(), source->FraControls[2]);
        source->LstDataSrc->setCurrentRow(0);
        source->LstDataSrc->setCurrentRow(4);
        QCOMPARE(source->txtWabfile->text(), u"/lists/tab.txt"_s);
        source->LstDataSrc->setCurrentRow(5);
        QCOMPARE(source->txtWabfile->text(), u"/lists/members.csv"_s); // kept trimmed
        m_wizard->close();
        m_wizard = nullptr;
        QCOMPARE(GetSetting(u"TabValues"_s, u"TxtTabFile"_s), u"/lists/tab.txt"_s);
        QCOMPARE(GetSetting(u"CommaValues"_s, u"TxtComaFile"_s), u"/lists/members.csv"_s);
        QCOMPARE(GetSetting(u"AddBookValues"_s, u"WabFilename"_s), QString());
    }

    void nextOnTheSourcePage_setsTheSkipBoxAndTheMarksOfEachSource()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        goToContacts();
        m_wizard->CmdBack_Click();
        m_wizard->CmdBack_Click();
        messages.clear();
        SourcePage* source = m_wizard->sourcePage();
        QCheckBox* skip = m_wizard->fieldMapPage()->ChkSkip;
        const auto nextWithMarks = [this, source](int index) {
            source->LstDataSrc->setCurrentRow(index);
            FrmMailMerge::setTag(source->lblContact, u"folder"_s);
            FrmMailMerge::setTag(source->lblWabName, u"book.wab"_s);
            m_wizard->CmdNext_Click();
        };
        nextWithMarks(3); // database: no skipping of a first row
        QVERIFY(!skip->isEnabled());
        QCOMPARE(FrmMailMerge::Tag(source->lblContact), QString());
        QCOMPARE(FrmMailMerge::Tag(source->lblWabName), QString());
        QVERIFY(m_wizard->mapImported());
        nextWithMarks(1); // mail client: the box is left alone, the address book is to be read again
        QVERIFY(!skip->isEnabled());
        QCOMPARE(FrmMailMerge::Tag(source->lblContact), u"folder"_s);
        QCOMPARE(FrmMailMerge::Tag(source->lblWabName), QString());
        QVERIFY(!m_wizard->mapImported());
        nextWithMarks(0);
        QVERIFY(skip->isEnabled());
        QCOMPARE(FrmMailMerge::Tag(source->lblContact), QString());
        QCOMPARE(FrmMailMerge::Tag(source->lblWabName), u"book.wab"_s);
        nextWithMarks(3);
        // With nothing chosen, each source says what is missing and the wizard stays.
        QCOMPARE(messages.texts(), (QStringList{u"File Doesn't Exists"_s, u"Please Choose a Contact Folder"_s,
                                                u"Choose a Valid file!"_s, u"File Doesn't Exists"_s}));
        QCOMPARE(messages.messages().last().buttons, MessageButtons::OkCancel);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        nextWithMarks(5);
        QCOMPARE(messages.messages().size(), 4);
        QVERIFY(skip->isEnabled());
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
    }

    void columnClicks_sortWithOneSharedOrder_andShowTheirIcons()
    {
        openWizard();
        chooseCommaFile(m_commaFile);
        m_wizard->CmdNext_Click();
        m_wizard->fieldMapPage()->ChkSkip->click();
        m_wizard->CmdNext_Click();
        ContactListView* list = m_wizard->contactsPage()->LsvSelection;
        QHeaderView* headings = list->horizontalHeader();
        const auto clickHeading = [headings](int column) {
            QTest::mouseClick(headings->viewport(), Qt::LeftButton, {},
                              QPoint(headings->sectionViewportPosition(column) + 8, headings->height() / 2));
        };
        ContactTable& table = m_wizard->contactTable();
        clickHeading(1); // First Name: the first sort of all is descending
        QCOMPARE(list->sortIcon(1), u"DOWN"_s);
        QStringList names;
        for (int position = 1; position <= table.count(); ++position) {
            names << table.cell(position, 1);
        }
        QCOMPARE(names, (QStringList{u"Eve"_s, u"Cy"_s, u"Bj\u00f6rn"_s, u"Ann"_s}));
        clickHeading(0); // another column: the shared order flips to ascending
        QCOMPARE(list->sortIcon(0), u"UP"_s);
        QCOMPARE(list->sortIcon(1), QString());
        QCOMPARE(table.cell(1, 0), u"ann@example.com"_s);
        clickHeading(0);
        QCOMPARE(list->sortIcon(0), u"DOWN"_s);
        QCOMPARE(table.cell(1, 0), u"eve@example.com"_s);

        // The recipient lists follow the positions of the sorted list.
        table.setData(table.index(0, 0), Qt::Unchecked, Qt::CheckStateRole);
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Compose));
        QCOMPARE(m_wizard->composePage()->CboPTo->itemText(0), u"cy@example.com"_s);
        QCOMPARE(m_wizard->composePage()->CboPIndex->itemText(0), u"2"_s);
        QCOMPARE(m_wizard->lblTotContacts()->text(), u"Selected Contacts : 3"_s);
    }

    void postalMerge_runsThroughPages_0_6_1_2_4_andBackAgain()
    {
        TestSupport::MessageRecorder messages;
        const QString letter = m_dir.filePath(u"postal letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, letter));
        openWizard();
        QPointer<FrmMailMerge> wizard = m_wizard;
        QList<int> pages{wizard->currentPage()};
        chooseCommaFile(m_commaFile);
        wizard->CmdNext_Click();
        pages << wizard->currentPage();
        // Close asks on the map page; No keeps the wizard where it was.
        messages.answerNext(MessageAnswer::No);
        wizard->cmdCancel_Click();
        QCOMPARE(messages.lastText(), u"Are you sure to Exit from this wizard?"_s);
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        wizard->fieldMapPage()->ChkSkip->click();
        wizard->CmdNext_Click();
        pages << wizard->currentPage();
        wizard->CmdNext_Click();
        pages << wizard->currentPage();
        TemplatePage* page = wizard->templatePage();
        page->ChkPostalMerge->click();
        page->txtTemplate[1]->setText(letter);
        page->OptDocs[1]->click();
        page->txtDocs->setText(m_dir.filePath(u"letters"_s));
        QCOMPARE(wizard->CmdNext()->text(), u"Start"_s);
        wizard->CmdNext_Click();
        pages << wizard->currentPage();
        QCOMPARE(pages, (QList<int>{FrmMailMerge::DataSource, FrmMailMerge::FieldMapping, FrmMailMerge::Contacts,
                                    FrmMailMerge::Template, FrmMailMerge::Finish}));
        QCOMPARE(wizard->finishPage()->FinishTab->tabText(0), u"Send Files"_s);
        QCOMPARE(wizard->CmdNext()->text(), u"Finish"_s);
        QCOMPARE(wizard->lblTotContacts()->text(), u"Selected Contacts : 4"_s);
        QCOMPARE(QDir(m_dir.filePath(u"letters"_s)).entryList(QDir::Files).size(), 4);

        // Back from the finished run goes to the template page, ready to start again.
        wizard->CmdBack_Click();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Template));
        QCOMPARE(wizard->CmdNext()->text(), u"Start"_s);
        QVERIFY(wizard->CmdNext()->isEnabled());
        QVERIFY(!wizard->finishPage()->PicOpen->isVisible());
        wizard->CmdNext_Click();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Finish));
        // "Finish" unloads without a question.
        messages.clear();
        wizard->CmdNext_Click();
        QTRY_VERIFY(wizard.isNull());
        QVERIFY(messages.messages().isEmpty());
        m_wizard = nullptr;
    }

    void tickingOneBoxOfAHighlightedSet_appliesToTheWholeSet()
    {
        openWizard();
        goToContacts();
        QTableView* list = m_wizard->contactsPage()->LsvSelection;
        const int before = m_wizard->selection().SelectedCount();
        list->selectionModel()->select(
            QItemSelection(m_wizard->contactTable().index(1, 0), m_wizard->contactTable().index(3, 15)),
            QItemSelectionModel::Select);
        // Click the check box of a highlighted row, as the user does.
        const QModelIndex box = m_wizard->contactTable().index(2, 0);
        QStyleOptionViewItem option;
        option.initFrom(list);
        option.rect = list->visualRect(box);
        option.features |= QStyleOptionViewItem::HasCheckIndicator;
        const QRect indicator = list->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, list);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, indicator.center());
        for (const int position : {2, 3, 4}) {
            QVERIFY(!m_wizard->contactTable().at(position).checked);
        }
        QVERIFY(m_wizard->contactTable().at(1).checked);
        QCOMPARE(m_wizard->selection().SelectedCount(), before - 3);
        QVERIFY(!list->selectionModel()->hasSelection());

        // A click beside the box only highlights the row.
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualRect(m_wizard->contactTable().index(0, 2)).center());
        QVERIFY(m_wizard->contactTable().at(1).checked);
        QCOMPARE(list->selectionModel()->selectedRows().size(), 1);
    }

    void close_asksOnEveryPageButTheFirst()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        QPointer<FrmMailMerge> wizard = m_wizard;
        goToContacts();
        messages.answerNext(MessageAnswer::No);
        wizard->cmdCancel_Click();
        QCOMPARE(messages.lastText(), u"Are you sure to Exit from this wizard?"_s);
        QCOMPARE(messages.messages().last().buttons, MessageButtons::YesNo);
        QCOMPARE(messages.messages().last().icon, MessageIcon::Question);
        QVERIFY(wizard->isVisible());
        messages.answerNext(MessageAnswer::Yes);
        wizard->cmdCancel_Click();
        QTRY_VERIFY(wizard.isNull());
        m_wizard = nullptr;

        messages.clear();
        openWizard();
        wizard = m_wizard;
        wizard->cmdCancel_Click();
        QVERIFY(messages.messages().isEmpty());
        QTRY_VERIFY(wizard.isNull());
        m_wizard = nullptr;
    }

    void postalMerge_leavesTheTemplatePageThroughItsChecks()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        goToContacts();
        m_wizard->CmdNext_Click();
        TemplatePage* page = m_wizard->templatePage();
        QVERIFY(!page->txtTemplate[1]->isEnabled());
        page->ChkPostalMerge->click();
        QVERIFY(page->ChkPostalMerge->isChecked());
        QVERIFY(!page->ChkMailMerge->isChecked());
        QVERIFY(page->txtTemplate[1]->isEnabled());
        QVERIFY(!page->ChkAttachment->isEnabled());
        QCOMPARE(m_wizard->CmdNext()->text(), u"Start"_s);

        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Select a Valid Template File"_s);
        const QString letter = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::writeFile(letter, "not really a document, but it exists"));
        page->txtTemplate[1]->setText(letter);
        QVERIFY(page->CmdEdit[1]->isEnabled());
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Please select any option!"_s);

        page->OptDocs[0]->click();
        QCOMPARE(page->lblDocs->text(), u"Save the word document as"_s);
        Dialogs::setNextResult(m_dir.filePath(u"combined.txt"_s));
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.texts().mid(messages.texts().size() - 2),
                 (QStringList{u"Choose the document name to be saved"_s, u"Not a Legal Source"_s}));
        page->txtDocs->setText(letter);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Document Name Invalid"_s);
        QCOMPARE(page->txtDocs->text(), QString());

        // The folder choice keeps its own text.
        Dialogs::setNextResult(m_dir.filePath(u"combined.docx"_s));
        page->cmdBrowseDoc->click();
        page->OptDocs[1]->click();
        QCOMPARE(page->txtDocs->text(), QString());
        Dialogs::setNextResult(m_dir.path());
        page->cmdBrowseDoc->click();
        page->OptDocs[0]->click();
        QCOMPARE(page->txtDocs->text(), m_dir.filePath(u"combined.docx"_s));
        page->OptDocs[1]->click();
        QCOMPARE(page->txtDocs->text(), m_dir.path());
        QCOMPARE(page->lblDocs->text(), u"Save Documents in the folder"_s);

        // Clearing one merge box checks the other.
        page->ChkPostalMerge->click();
        QVERIFY(page->ChkMailMerge->isChecked());
        QCOMPARE(m_wizard->CmdNext()->text(), u"Next>>"_s);
    }

    void buttonsPressedDuringAnImport_waitForItsEnd()
    {
        // The import lets pending events through every 200 lines: presses of Next, Back and
        // Close that arrive then must neither import twice nor take the window away under it.
        const QString big = m_dir.filePath(u"big.csv"_s);
        QByteArray content = "Name,Email\r\n";
        for (int i = 0; i < 2000; ++i) {
            content += "P" + QByteArray::number(i) + ",p" + QByteArray::number(i) + "@x.org\r\n";
        }
        QVERIFY(TestSupport::writeFile(big, content));
        TestSupport::MessageRecorder messages;
        openWizard();
        QPointer<FrmMailMerge> wizard = m_wizard;
        chooseCommaFile(big);
        wizard->CmdNext_Click();
        wizard->fieldMapPage()->ChkSkip->click();
        messages.answerNext(MessageAnswer::Yes);
        QTimer::singleShot(0, wizard, [wizard] {
            wizard->CmdNext_Click();
            wizard->CmdBack_Click();
            wizard->cmdCancel_Click();
        });
        // Each time the events go through, the progress frame shows how far the import is.
        QStringList shown;
        QTimer watch;
        connect(&watch, &QTimer::timeout, wizard, [&shown, wizard] {
            if (wizard->progress()->isVisible()) {
                shown << wizard->progress()->findChild<QLabel*>(u"lblPer"_s)->text();
            }
        });
        watch.start(0);
        wizard->CmdNext_Click();
        watch.stop();
        QVERIFY(!wizard.isNull());
        QCOMPARE(wizard->contactTable().count(), 2000);
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Contacts));
        QVERIFY(messages.messages().isEmpty());
        // Once before the first line, then every 200 lines: 4000 twips over 2001 line ends.
        QVERIFY2(shown.size() >= 5, qPrintable(shown.join(u' ')));
        QCOMPARE(shown.first(), u"0 %"_s);
        QVERIFY(shown.contains(u"10 %"_s) || shown.contains(u"20 %"_s));
        QVERIFY(!shown.contains(u"15 %"_s)); // only at every 200th line
        for (qsizetype i = 1; i < shown.size(); ++i) {
            QVERIFY(shown.at(i).chopped(2).toInt() >= shown.at(i - 1).chopped(2).toInt());
        }
        QVERIFY(!wizard->progress()->isVisible());
        QCOMPARE(wizard->progress()->findChild<QLabel*>(u"lblPer"_s)->text(), u"0 %"_s);
    }

    void memory_restoresSourcesBlanksColumnsAndTheWayOfSending()
    {
        SaveSetting(u"SMTP"_s, u"SendMail"_s, u"outbox"_s);
        SaveSetting(u"BlankFields"_s, u"FirstName"_s, QString());
        SaveSetting(u"ContactsList"_s, u"2"_s, u"5"_s);
        SaveSetting(u"ContactsList"_s, u"5"_s, u"2"_s);
        openWizard();
        QVERIFY(m_wizard->sendPage()->OptOutbox->isChecked());
        QVERIFY(!m_wizard->sendPage()->OptSMTP->isChecked());
        QCOMPARE(m_wizard->fieldMapPage()->TxtBlank[0]->text(), QString());
        QCOMPARE(m_wizard->contactsPage()->LsvSelection->horizontalHeader()->visualIndex(1), 4);
        QCOMPARE(m_wizard->contactsPage()->LsvSelection->horizontalHeader()->visualIndex(4), 1);

        chooseCommaFile(m_commaFile);
        m_wizard->fieldMapPage()->TxtBlank[1]->setText(u"Friend"_s);
        m_wizard->sendPage()->OptSMTP->setChecked(true);
        m_wizard->close();
        m_wizard = nullptr;
        QCOMPARE(GetSetting(u"CommaValues"_s, u"TxtComaFile"_s), m_commaFile);
        QCOMPARE(GetSetting(u"BlankFields"_s, u"LastName"_s), u"Friend"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"SendMail"_s), u"SMTP"_s);
        QCOMPARE(GetSetting(u"ContactsList"_s, u"2"_s), u"5"_s);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"MDBFileName"_s, u"untouched"_s), u"untouched"_s);

        // Database memory: read as "MDBFilename", written as "MDBFileName" (one key, case aside);
        // an emptied box leaves file, table and password stored, the password in plain text.
        SaveSetting(u"MSAccess"_s, u"MDBFilename"_s, u"/db/club.mdb"_s);
        SaveSetting(u"MSAccess"_s, u"Password"_s, u"pa ss"_s);
        SaveSetting(u"MSAccess"_s, u"TableName"_s, u"People"_s);
        openWizard();
        QCOMPARE(m_wizard->sourcePage()->txtMdbFile->text(), u"/db/club.mdb"_s);
        QCOMPARE(m_wizard->sourcePage()->txtPassword->text(), u"pa ss"_s);
        QVERIFY(m_wizard->sendPage()->OptSMTP->isChecked());
        m_wizard->sourcePage()->txtMdbFile->clear();
        m_wizard->sourcePage()->txtPassword->setText(u"changed"_s);
        m_wizard->sendPage()->OptOutbox->setChecked(true);
        // A column moved by the user comes back at its place.
        m_wizard->contactsPage()->LsvSelection->horizontalHeader()->moveSection(7, 0);
        m_wizard->close();
        m_wizard = nullptr;
        QCOMPARE(GetSetting(u"MSAccess"_s, u"MDBFileName"_s), u"/db/club.mdb"_s);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"Password"_s), u"pa ss"_s);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"TableName"_s), u"People"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"SendMail"_s), u"outbox"_s);
        openWizard();
        QCOMPARE(m_wizard->contactsPage()->LsvSelection->horizontalHeader()->logicalIndex(0), 7);
        QVERIFY(m_wizard->sendPage()->OptOutbox->isChecked());
        m_wizard->close();
        m_wizard = nullptr;

        // A stored position the list cannot take ends the reading: the way of sending stays unset.
        SaveSetting(u"ContactsList"_s, u"3"_s, u"x"_s);
        openWizard();
        QVERIFY(!m_wizard->sendPage()->OptSMTP->isChecked());
        QVERIFY(!m_wizard->sendPage()->OptOutbox->isChecked());
    }
};

QTEST_MAIN(WizardFlowTest)
#include "tst_wizard_flow.moc"
