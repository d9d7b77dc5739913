#include "WizardFixture.h"
#include "contacts/AccessDatabase.h"

// The database source of the merge wizard, on real Access files: the table list, the password,
// the map page and the contact page.
class WizardAccessTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

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

    void expectPasswordAsked(const TestSupport::MessageRecorder& messages)
    {
        QVERIFY(!messages.messages().isEmpty());
        const Message& asked = messages.messages().last();
        QCOMPARE(asked.text, u"Please enter a valid password!"_s);
        QCOMPARE(asked.title, u"Password required!"_s);
        QCOMPARE(asked.icon, MessageIcon::None);
        QVERIFY(source()->chkPassWd->isChecked());
        QVERIFY(source()->txtPassword->isEnabled());
        QCOMPARE(m_wizard->focusWidget(), source()->txtPassword);
    }

    // Next twice: the map page, then the contact page.
    void importTable()
    {
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
    }

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

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
        expectPasswordAsked(messages);
        QCOMPARE(messages.messages().size(), 1);
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

QTEST_MAIN(WizardAccessTest)
#include "tst_wizard_access.moc"
