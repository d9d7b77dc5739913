#include "WizardFixture.h"

class WizardExcelTest : public QObject, protected WizardFixture
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
};

QTEST_MAIN(WizardExcelTest)
#include "tst_wizard_excel.moc"
