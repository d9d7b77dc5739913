#include "TestSupport.h"
#include "WizardFixture.h"
#include "core/Dialogs.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/ProgressPanel.h"
#include "wizard/ui/WizardPages.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

class WizardExcelTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_xlsx;
    QString m_xls;

    void chooseWorkbook(const QString& path) { browse(2, source()->CmdBrowseXlSheet, path); }

    void mapColumn(int field, int column)
    {
        map()->CboField[field]->setCurrentIndex(column);
        emit map()->CboField[field]->activated(column);
    }

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
        m_xls = m_dir.filePath(u"people.xls"_s);
        QVERIFY(TestSupport::makeWorkbook(u"xlsx"_s, m_xlsx));
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, m_xls));
    }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    void xlsx_fromTheSourcePage_throughTheMap_toTheContacts()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        source()->LstDataSrc->setCurrentRow(2);
        QCOMPARE(source()->panels->currentWidget(), source()->FraControls[2]);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Choose a Valid file!"_s);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));

        Dialogs::setNextResult(m_dir.filePath(u"contacts.csv"_s));
        source()->CmdBrowseXlSheet->click();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        QCOMPARE(source()->txtXlSheet->text(), QString());

        chooseWorkbook(m_xlsx);
        QCOMPARE(messages.messages().size(), 2);
        QCOMPARE(source()->txtXlSheet->text(), m_xlsx);
        // Worksheets in workbook order, the chart sheet not among them; a new workbook shows its first.
        QCOMPARE(sheetList(), (QStringList{u"Contacts"_s, u"Values"_s, u"Offset"_s, u"Single"_s, u"Empty"_s}));
        QCOMPARE(source()->cboSheets->currentText(), u"Contacts"_s);
        QVERIFY(source()->cboSheets->isEnabled());

        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QCOMPARE(map()->CboField[0]->currentText(), u"Name"_s);
        QCOMPARE(map()->CboField[12]->currentText(), u"Email"_s);
        QCOMPARE(map()->CboField[3]->currentText(), u"Company"_s);
        QVERIFY(map()->ChkSkip->isEnabled());
        mapColumn(13, 3);
        mapColumn(14, 4);
        map()->ChkSkip->click();

        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        ContactTable& table = m_wizard->contactTable();
        QCOMPARE(table.count(), 3);
        QCOMPARE(table.cell(1, 0), u"ann@example.com"_s);
        QCOMPARE(table.cell(1, 1), u"Ann"_s);
        QCOMPARE(table.cell(1, 14), u"1/15/2024"_s);
        QCOMPARE(m_wizard->selection().SelectedCount(), 3);
        QVERIFY(messages.messages().size() == 2);
        QCOMPARE(GetSetting(u"XlSheet"_s, u"ExFileName"_s), m_xlsx);
        QCOMPARE(GetSetting(u"XlSheet"_s, u"ExSheetName"_s), u"Contacts"_s);
        QCOMPARE(GetSetting(u"XlSheet"_s, u"12"_s), u"Email"_s);
        QCOMPARE(GetSetting(u"XlSheet"_s, u"13CD"_s), u"Amount"_s);

        // On to the template page and back: the rows stand while nothing changed.
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
        m_wizard->CmdBack_Click();
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        QCOMPARE(table.count(), 3);

        // Another sheet: a lone cell names one column and gives no rows, with no message.
        m_wizard->CmdBack_Click();
        m_wizard->CmdBack_Click();
        source()->cboSheets->setCurrentIndex(3);
        QCOMPARE(m_wizard->openedSource(), std::nullopt);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QCOMPARE(m_wizard->fieldMap().columns, QStringList{u"alone"_s});
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.lastText(), u"Please Map any Field"_s);
        mapColumn(0, 0);
        const qsizetype shown = messages.messages().size();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QCOMPARE(messages.messages().size(), shown);
        QCOMPARE(table.count(), 0);
    }

    void xls_unskipped_takesTheHeadingRowForAContact()
    {
        TestSupport::MessageRecorder messages;
        openWizard();
        chooseWorkbook(m_xls);
        QCOMPARE(sheetList(), (QStringList{u"People"_s, u"Second"_s}));
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QCOMPARE(m_wizard->fieldMap().columns,
                 (QStringList{u"Name"_s, u"Email"_s, u"Company"_s, u"Amount"_s, u"Joined"_s, QString()}));
        mapColumn(13, 4);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        ContactTable& table = m_wizard->contactTable();
        QCOMPARE(table.count(), 4);
        QCOMPARE(table.cell(1, 0), u"Email"_s);
        QCOMPARE(table.cell(2, 1), u"Ann"_s);
        QVERIFY(messages.messages().isEmpty());

        // The second sheet's used range starts at B3: its one name is that of A1, which is empty,
        // and its rows come from the range.
        m_wizard->CmdBack_Click();
        m_wizard->CmdBack_Click();
        source()->cboSheets->setCurrentIndex(1);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->fieldMap().columns, QStringList{QString()});
        mapColumn(12, 0);
        map()->CboField[0]->setEditText(u"typed"_s);
        map()->ChkSkip->click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        QCOMPARE(table.count(), 1);
        QCOMPARE(table.cell(1, 0), u"eve@example.com"_s);
        QCOMPARE(table.cell(1, 1), QString());
    }

    void reopening_listsTheRememberedWorkbook_andChoosesItsSheet()
    {
        SaveSetting(u"XlSheet"_s, u"ExFileName"_s, m_xlsx);
        SaveSetting(u"XlSheet"_s, u"ExSheetName"_s, u"Offset"_s);
        TestSupport::MessageRecorder messages;
        openWizard();
        QCOMPARE(source()->txtXlSheet->text(), m_xlsx);
        QCOMPARE(sheetList().size(), 5);
        QCOMPARE(source()->cboSheets->currentText(), u"Offset"_s);
        // Picking a workbook anew always shows its first sheet.
        chooseWorkbook(m_xlsx);
        QCOMPARE(source()->cboSheets->currentText(), u"Contacts"_s);
        source()->cboSheets->setCurrentIndex(1);
        m_wizard->close();
        QCOMPARE(GetSetting(u"XlSheet"_s, u"ExSheetName"_s), u"Values"_s);

        // A remembered sheet that is gone shows none; a remembered workbook that is gone, nothing.
        SaveSetting(u"XlSheet"_s, u"ExSheetName"_s, u"Gone"_s);
        openWizard();
        QCOMPARE(sheetList().size(), 5);
        QCOMPARE(source()->cboSheets->currentText(), QString());
        m_wizard->close();
        SaveSetting(u"XlSheet"_s, u"ExFileName"_s, m_dir.filePath(u"moved.xlsx"_s));
        openWizard();
        QCOMPARE(sheetList(), QStringList());
        QVERIFY(messages.messages().isEmpty());
        // Emptying the box empties the list.
        chooseWorkbook(m_xlsx);
        source()->txtXlSheet->clear();
        emit source()->txtXlSheet->editingFinished();
        QCOMPARE(sheetList(), QStringList());
    }

    void goneAndDamagedWorkbooks_endTheStepCleanly()
    {
        const QString copy = m_dir.filePath(u"copy.xlsx"_s);
        QVERIFY(QFile::copy(m_xlsx, copy));
        const QString renamed = m_dir.filePath(u"renamed.xls"_s);
        {
            QVERIFY(TestSupport::writeFile(renamed, "Name,Email\r\nAnn,ann@example.com\r\n"));
        }
        TestSupport::MessageRecorder messages;
        openWizard();
        chooseWorkbook(copy);
        QVERIFY(QFile::remove(copy));
        messages.answerNext(MessageAnswer::Cancel);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.messages().size(), 1);
        QCOMPARE(messages.messages().last().text, u"File Doesn't Exists"_s);
        QCOMPARE(messages.messages().last().buttons, MessageButtons::OkCancel);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        QCOMPARE(m_wizard->openedSource(), std::nullopt);

        // A text renamed to .xls opens as no workbook: the list stays as it was, the step ends
        // without a word and the wizard stays on its page.
        chooseWorkbook(renamed);
        QCOMPARE(messages.messages().size(), 1);
        QCOMPARE(source()->txtXlSheet->text(), renamed);
        QCOMPARE(sheetList().size(), 5);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.messages().size(), 1);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        QVERIFY(!m_wizard->progress()->isVisible());
        QVERIFY(m_wizard->CmdNext()->isEnabled());

        // Browsing to a workbook that has gone says so, with OK and Cancel.
        chooseWorkbook(m_dir.filePath(u"absent.xlsx"_s));
        QCOMPARE(messages.messages().size(), 2);
        QCOMPARE(messages.lastText(), u"File Doesn't Exists"_s);

        // A workbook of no worksheets says so in the list; Next reads nothing and stays.
        QVERIFY(TestSupport::makeWorkbook(u"broken"_s, m_dir.path()));
        chooseWorkbook(m_dir.filePath(u"no_sheets.xlsx"_s));
        QCOMPARE(sheetList(), QStringList());
        QCOMPARE(source()->cboSheets->currentText(), u"(No Sheets)"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
        QCOMPARE(messages.messages().size(), 2);

        // A workbook that goes while its map is shown: Next on the map page says so and stays.
        QVERIFY(QFile::copy(m_xlsx, copy));
        chooseWorkbook(copy);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QVERIFY(QFile::remove(copy));
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.messages().size(), 3);
        QCOMPARE(messages.lastText(), u"File Doesn't Exists"_s);
        QCOMPARE(messages.messages().last().buttons, MessageButtons::OkCancel);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::FieldMapping));
        QCOMPARE(m_wizard->contactTable().count(), 0);
        QVERIFY(!m_wizard->progress()->isVisible());
    }
};

QTEST_MAIN(WizardExcelTest)
#include "tst_wizard_excel.moc"
