#include "WizardFixture.h"
#include "composer/ComposePage.h"

#include <QHeaderView>
#include <QMenu>
#include <QTextEdit>
#include <QTimer>

class WizardFlowTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_commaFile;

    // The comma file through the map page, its first row taken as the headings, to the contacts.
    void toContacts()
    {
        openWizard();
        chooseCommaFile(m_commaFile);
        m_wizard->CmdNext_Click();
        map()->ChkSkip->setChecked(true);
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
        QPointer<FrmMailMerge> wizard = openWizard();
        QVERIFY(!wizard->CmdBack()->isEnabled());
        chooseCommaFile(m_commaFile);
        wizard->CmdNext_Click();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QCOMPARE(map()->CboField[12]->currentText(), u"Email"_s);
        map()->ChkSkip->click();

        // The user maps the member column onto the first custom field and renames it.
        mapColumn(13, 3);
        map()->txtCustom[0]->setText(u"Member No"_s);
        emit map()->txtCustom[0]->textEdited(u"Member No"_s);

        wizard->CmdNext_Click();
        ContactTable& table = wizard->contactTable();
        // The unterminated quote of Dee's line adds no row; the import goes on behind it.
        QCOMPARE(column(1), (QStringList{u"Ann"_s, u"Björn"_s, u"Cy"_s, u"Eve"_s}));
        QCOMPARE(table.cell(1, 13), u"M-1"_s);
        QCOMPARE(table.heading(13), u"Member No"_s);
        QCOMPARE(wizard->contactsPage()->lblTopContacts->text(), u"Total Contacts : 4"_s);
        QCOMPARE(GetSetting(u"CommaValues"_s, u"13CD"_s), u"Member"_s);

        // Untick two rows as the user does: the model flips the box and reports it.
        table.setData(table.index(0, 0), Qt::Unchecked, Qt::CheckStateRole);
        table.setData(table.index(2, 0), Qt::Unchecked, Qt::CheckStateRole);
        wizard->CmdNext_Click();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Template));
        QCOMPARE(wizard->lblTotContacts()->text(), u"Selected Contacts : 2"_s);
        QVERIFY(messages.messages().isEmpty());

        // Mail without attachment: the composer, whose recipient lists hold the checked rows.
        wizard->CmdNext_Click();
        ComposePage* compose = wizard->composePage();
        QCOMPARE(compose->CboPTo->itemText(0), u"bjorn@example.com"_s);
        QCOMPARE(compose->CboPIndex->itemText(1), u"4"_s);
        QVERIFY(!compose->G1_Tab->isTabEnabled(3));
        QCOMPARE(compose->MnuMergeFlds()->findChild<QAction*>(u"MnuCus1"_s)->text(), u"Member No"_s);

        // A subject of blanks passes the check.
        wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Please Specify a Subject"_s);
        compose->txtSubject->setText(u"   "_s);
        compose->dhtCompose->setHtml(u"<p>Dear [[FirstName]] ([[Member No]])</p>"_s);
        wizard->CmdNext_Click();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::SendWay));
        QCOMPARE(wizard->CmdNext()->text(), u"Start"_s);
        QCOMPARE(wizard->sendPage()->txtselected[1]->text(), u"2 Contacts"_s);

        // And back again, page by page, to the source; Close asks on each page, No stays.
        for (const int page : {FrmMailMerge::Compose, FrmMailMerge::Template, FrmMailMerge::Contacts,
                               FrmMailMerge::FieldMapping, FrmMailMerge::DataSource}) {
            const int from = wizard->currentPage();
            messages.clear();
            messages.answerNext(MessageAnswer::No);
            wizard->cmdCancel_Click();
            QCOMPARE(messages.texts(), QStringList{u"Are you sure to Exit from this wizard?"_s});
            QCOMPARE(wizard->currentPage(), from);
            wizard->CmdBack_Click();
            QCOMPARE(wizard->currentPage(), page);
            QCOMPARE(wizard->CmdNext()->text(), u"Next>>"_s);
        }
        QVERIFY(!wizard->CmdBack()->isEnabled());
        QVERIFY(!wizard->lblTotContacts()->isVisible());

        // The same file again: the rows and their checks stand, while the count is set to the
        // row count again on the way.
        wizard->CmdNext_Click();
        wizard->CmdNext_Click();
        QCOMPARE(table.count(), 4);
        QVERIFY(!table.at(1).checked);
        QCOMPARE(wizard->selection().SelectedCount(), 4);

        // Yes to the question ends the wizard.
        messages.answerNext(MessageAnswer::Yes);
        wizard->cmdCancel_Click();
        QCOMPARE(messages.messages().last().buttons, MessageButtons::YesNo);
        QCOMPARE(messages.messages().last().icon, MessageIcon::Question);
        QTRY_VERIFY(wizard.isNull());
    }

    void sourceAndMapPages_reportUserMistakes()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        source()->LstDataSrc->setCurrentRow(4);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Choose a Valid file!"_s);
        source()->txtWabfile->setText(m_dir.filePath(u"missing.txt"_s));
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"File Doesn't Exists"_s);
        Dialogs::setNextResult(m_commaFile); // a tab source takes .txt only
        source()->CmdBrowseWab->click();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));

        // A typed path is not checked for its ending; "Clear Map" then refuses the import.
        const QString tabFile = m_dir.filePath(u"list.tsv"_s);
        QVERIFY(TestSupport::writeFile(tabFile, "First\tEMAIL\r\nAnn\tann@x.org\r\n"));
        source()->txtWabfile->setText(tabFile);
        m_wizard->CmdNext_Click();
        mapColumn(13, 0);
        map()->CmdClear->click();
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Please Map any Field"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        map()->CmdDefault->click();
        QCOMPARE(map()->CboField[12]->currentText(), u"EMAIL"_s);
        map()->ChkSkip->click();
        m_wizard->CmdNext_Click();
        QCOMPARE(column(0), QStringList{u"ann@x.org"_s});

        // Nothing checked: Next stays, with its message.
        m_wizard->contactsPage()->lblSel->linkActivated(u"#"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Select Any Contact"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
    }

    void theContactList_sortsByItsHeadings_andTheRecipientListsFollowIt()
    {
        toContacts();
        ContactListView* list = m_wizard->contactsPage()->LsvSelection;
        QHeaderView* headings = list->horizontalHeader();
        // A click on First Name: the first sort of all is descending.
        QTest::mouseClick(headings->viewport(), Qt::LeftButton, {},
                          QPoint(headings->sectionViewportPosition(1) + 8, headings->height() / 2));
        QCOMPARE(list->sortIcon(1), u"DOWN"_s);
        QCOMPARE(column(1), (QStringList{u"Eve"_s, u"Cy"_s, u"Björn"_s, u"Ann"_s}));

        // The recipient lists follow the positions of the sorted list.
        m_wizard->contactTable().setChecked(2, false);
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->composePage()->CboPTo->itemText(1), u"bjorn@example.com"_s);
        QCOMPARE(m_wizard->composePage()->CboPIndex->itemText(1), u"3"_s);
    }

    void postalMerge_leavesTheTemplatePageThroughItsChecks()
    {
        TestSupport::MessageRecorder messages;
        toContacts();
        m_wizard->CmdNext_Click();
        TemplatePage* page = m_wizard->templatePage();
        page->ChkPostalMerge->click();
        QCOMPARE(m_wizard->CmdNext()->text(), u"Start"_s);

        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Select a Valid Template File"_s);
        const QString letter = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::writeFile(letter, "not really a document, but it exists"));
        page->txtTemplate[1]->setText(letter);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Please select any option!"_s);
        page->cmdBrowseDoc->click(); // the browse button says it without the mark
        QCOMPARE(messages.lastText(), u"Please select any option"_s);

        page->OptDocs[0]->click();
        Dialogs::setNextResult(m_dir.filePath(u"combined.txt"_s));
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.texts().mid(messages.texts().size() - 2),
                 (QStringList{u"Choose the document name to be saved"_s, u"Not a Legal Source"_s}));
        Dialogs::setNextResult(m_dir.filePath(u"all.Docx"_s)); // any letter case
        page->cmdBrowseDoc->click();
        QCOMPARE(page->txtDocs->text(), m_dir.filePath(u"all.Docx"_s));
        page->txtDocs->setText(letter);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Document Name Invalid"_s);
        QCOMPARE(page->txtDocs->text(), QString());
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
        QPointer<FrmMailMerge> wizard = openWizard();
        chooseCommaFile(big);
        wizard->CmdNext_Click();
        map()->ChkSkip->click();
        messages.answerNext(MessageAnswer::Yes);
        QTimer::singleShot(0, wizard, [wizard] {
            wizard->CmdNext_Click();
            wizard->CmdBack_Click();
            wizard->cmdCancel_Click();
        });
        wizard->CmdNext_Click();
        QVERIFY(!wizard.isNull());
        QCOMPARE(wizard->contactTable().count(), 2000);
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Contacts));
        QVERIFY(messages.messages().isEmpty());
        QVERIFY(!wizard->progress()->isVisible());
    }
};

QTEST_MAIN(WizardFlowTest)
#include "tst_wizard_flow.moc"
