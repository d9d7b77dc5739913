#include "WizardFixture.h"
#include "contacts/AccessDatabase.h"

// The workbook and database sources of the merge wizard: the sheet and table lists, the
// database's password, the map page and the contact page.
class WizardExcelAccessTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_xlsx;

    void chooseWorkbook(const QString& path) { browse(2, source()->CmdBrowseXlSheet, path); }

    QStringList sheetList() const
    {
        QStringList names;
        for (int i = 0; i < source()->cboSheets->count(); ++i) {
            names << source()->cboSheets->itemText(i);
        }
        return names;
    }

    void browseDatabase(const QString& path) { browse(3, source()->CmdBrowseMdbFile, path); }

    void chooseTable(const QString& name)
    {
        QComboBox* tables = source()->CboTable;
        const int index = tables->findText(name);
        QVERIFY2(index >= 0, qPrintable(name));
        tables->setCurrentIndex(index);
        emit tables->activated(index);
    }

    void expectNoTables()
    {
        QCOMPARE(source()->CboTable->currentText(), u"(No Tables)"_s);
        QVERIFY(!source()->CboTable->isEnabled());
        QVERIFY(!source()->lbltable->isEnabled());
    }

    // Next twice: the map page, then the contact page.
    void importTable()
    {
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_xlsx = m_dir.filePath(u"contacts.xlsx"_s);
        QVERIFY(TestSupport::makeWorkbook(u"xlsx"_s, m_xlsx));
    }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    void xlsx_fromTheSourcePage_throughTheMap_toTheContacts()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        source()->LstDataSrc->setCurrentRow(2);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Choose a Valid file!"_s);
        Dialogs::setNextResult(m_dir.filePath(u"contacts.csv"_s));
        source()->CmdBrowseXlSheet->click();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        QCOMPARE(source()->txtXlSheet->text(), QString());

        chooseWorkbook(m_xlsx);
        // Worksheets in workbook order, the chart sheet not among them; a new workbook shows its first.
        QCOMPARE(sheetList(), (QStringList{u"Contacts"_s, u"Values"_s, u"Offset"_s, u"Single"_s, u"Empty"_s}));
        QCOMPARE(source()->cboSheets->currentText(), u"Contacts"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(map()->CboField[12]->currentText(), u"Email"_s);
        mapColumn(13, 3);
        map()->ChkSkip->click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        ContactTable& table = m_wizard->contactTable();
        QCOMPARE(table.count(), 3);
        QCOMPARE(table.cell(1, 0), u"ann@example.com"_s);
        QCOMPARE(messages.messages().size(), 2);
        QCOMPARE(GetSetting(u"XlSheet"_s, u"ExFileName"_s), m_xlsx);
        QCOMPARE(GetSetting(u"XlSheet"_s, u"ExSheetName"_s), u"Contacts"_s);
        QCOMPARE(GetSetting(u"XlSheet"_s, u"13CD"_s), u"Amount"_s);

        // Another sheet is read anew: a lone cell names one column and gives no rows, silently.
        m_wizard->CmdBack_Click();
        m_wizard->CmdBack_Click();
        source()->cboSheets->setCurrentIndex(3);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->fieldMap().columns, QStringList{u"alone"_s});
        mapColumn(0, 0);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QCOMPARE(messages.messages().size(), 2);
        QCOMPARE(table.count(), 0);
    }

    void xls_unskipped_takesTheHeadingRowForAContact()
    {
        const QString xls = m_dir.filePath(u"people.xls"_s);
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, xls));
        openWizard();
        chooseWorkbook(xls);
        QCOMPARE(sheetList(), (QStringList{u"People"_s, u"Second"_s}));
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->contactTable().count(), 4);
        QCOMPARE(m_wizard->contactTable().cell(1, 0), u"Email"_s);
    }

    void goneAndDamagedWorkbooks_endTheStepCleanly()
    {
        const QString copy = m_dir.filePath(u"copy.xlsx"_s);
        QVERIFY(QFile::copy(m_xlsx, copy));
        const QString renamed = m_dir.filePath(u"renamed.xls"_s);
        QVERIFY(TestSupport::writeFile(renamed, "Name,Email\r\nAnn,ann@example.com\r\n"));
        TestSupport::MessageRecorder messages;
        openWizard();
        chooseWorkbook(copy);
        QVERIFY(QFile::remove(copy));
        messages.answerNext(MessageAnswer::Cancel);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.texts(), QStringList{u"File Doesn't Exists"_s});
        QCOMPARE(messages.messages().last().buttons, MessageButtons::OkCancel);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));

        // A text renamed to .xls opens as no workbook: the list stays as it was, the step ends
        // without a word and the wizard stays on its page.
        chooseWorkbook(renamed);
        QCOMPARE(sheetList().size(), 5);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.messages().size(), 1);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        QVERIFY(!m_wizard->progress()->isVisible());
    }

    void customers_fromTheFirstPage_throughTheMap_toTheContacts()
    {
        QB_REQUIRE_ACCESS_FIXTURE(nwind, "nwind.mdb");
        TestSupport::MessageRecorder messages;
        openWizard();
        browseDatabase(nwind);
        QCOMPARE(source()->CboTable->currentText(), u"Categories"_s);
        chooseTable(u"Customers"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(map()->CboField[0]->currentText(), u"ContactName"_s);
        QVERIFY(!map()->ChkSkip->isEnabled());
        mapColumn(12, 0); // the customer's id as the address, to see cell 0 filled
        m_wizard->CmdNext_Click();
        const ContactTable& table = m_wizard->contactTable();
        QCOMPARE(table.count(), 91);
        QCOMPARE(table.cell(2, 0), u"ANATR"_s);
        QCOMPARE(table.cell(2, 1), u"Ana Trujillo"_s);
        // The map is remembered with the database and its table.
        QCOMPARE(GetSetting(u"MSAccess"_s, u"MDBFileName"_s), nwind);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"TableName"_s), u"Customers"_s);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"12"_s), u"CustomerID"_s);

        // Another table: its columns replace the map, and the remembered map is not applied to it.
        m_wizard->CmdBack_Click();
        m_wizard->CmdBack_Click();
        chooseTable(u"Shippers"_s);
        importTable();
        QCOMPARE(table.count(), 3);
        QCOMPARE(table.cell(2, 4), u"United Package"_s);
        QCOMPARE(table.cell(2, 0), QString());
        QCOMPARE(messages.messages().size(), 0);
    }

    void password_isAskedForAtAListingTheUserAsked_andNotAtTheFirstShow()
    {
        QB_REQUIRE_ACCESS_FIXTURE(nwind, "nwind.mdb");
        const QString locked = m_dir.filePath(u"locked.mdb"_s);
        QVERIFY(TestSupport::makeProtectedMdb(nwind, locked, u"Nörd"_s));
        TestSupport::MessageRecorder messages;
        openWizard();
        QVERIFY(!source()->txtPassword->isEnabled());
        browseDatabase(locked);
        QCOMPARE(messages.texts(), QStringList{u"Please enter a valid password!"_s});
        QCOMPARE(messages.messages().last().title, u"Password required!"_s);
        QVERIFY(source()->chkPassWd->isChecked() && source()->txtPassword->isEnabled());
        expectNoTables();
        // Nothing to import: Next says nothing and stays.
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.messages().size(), 1);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        source()->txtPassword->setText(u"Nörd"_s);
        QTest::keyClick(source()->txtPassword, Qt::Key_Return);
        QCOMPARE(messages.messages().size(), 1);
        QVERIFY(source()->CboTable->isEnabled() && source()->lbltable->isEnabled());
        chooseTable(u"Customers"_s);
        importTable();
        QCOMPARE(m_wizard->contactTable().count(), 91);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"Password"_s), u"Nörd"_s);
        closeWizard();

        // A stale stored password keeps the first show silent.
        messages.clear();
        SaveSetting(u"MSAccess"_s, u"Password"_s, u"stale"_s);
        openWizard();
        QCOMPARE(messages.messages().size(), 0);
        expectNoTables();
    }

    void databasesWithoutUserTables_andFilesThatAreNone()
    {
        QB_REQUIRE_ACCESS_FIXTURE(empty, "emptyJet4.mdb");
        const QString text = m_dir.filePath(u"contacts.mdb"_s);
        QVERIFY(TestSupport::writeFile(text, "Name,Email\r\nAnn,ann@example.com\r\n"));
        TestSupport::MessageRecorder messages;
        openWizard();
        browseDatabase(empty);
        expectNoTables();
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.messages().size(), 0);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));

        browseDatabase(text);
        QCOMPARE(messages.texts(), QStringList{u"Unrecognized database format '%1'."_s.arg(text)});
        expectNoTables();

        // The browse button takes .mdb and .accdb files only.
        messages.clear();
        Dialogs::setNextResult(m_dir.filePath(u"contacts.csv"_s));
        source()->CmdBrowseMdbFile->click();
        QCOMPARE(messages.texts(), QStringList{u"Not a Legal Source"_s});
        QCOMPARE(source()->txtMdbFile->text(), text);
        source()->txtMdbFile->setText(m_dir.filePath(u"gone.mdb"_s));
        source()->CboTable->clear();
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"File Doesn't Exists"_s);
        QCOMPARE(messages.messages().last().buttons, MessageButtons::OkCancel);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
    }
};

QTEST_MAIN(WizardExcelAccessTest)
#include "tst_wizard_excel_access.moc"
