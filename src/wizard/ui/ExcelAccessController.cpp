#include "ExcelAccessController.h"

#include "ContactsController.h"
#include "FrmMailMerge.h"
#include "ProgressPanel.h"
#include "SourceController.h"
#include "WizardPages.h"
#include "contacts/AccessImport.h"
#include "contacts/ContactTable.h"
#include "contacts/ExcelImport.h"
#include "core/CommonRoutines.h"
#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "core/TextUtil.h"
#include "core/WaitCursor.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

// A workbook of the newer kind (.xlsx) passes beside the .xls.
bool isWorkbookName(const QString& name)
{
    return name.right(3).toUpper() == u"XLS"_s || name.right(4).toUpper() == u"XLSX"_s;
}

bool isDatabaseName(const QString& name)
{
    return name.right(3).toUpper() == u"MDB"_s || name.right(5).toUpper() == u"ACCDB"_s;
}

const QString ExcelTag = u"XlSheet"_s;
const QString FileGone = u"File Doesn't Exists"_s;

// "File Doesn't Exists" as the spreadsheet stages show it, with OK and Cancel.
void fileGoneWithCancel()
{
    MessageBoxes::show(Message{FileGone, u"Quillbay+"_s, MessageButtons::OkCancel, MessageIcon::Information});
}

} // namespace

ExcelAccessController::ExcelAccessController(FrmMailMerge& wizard, SourceController& sources)
    : QObject(&sources)
    , m_wizard(wizard)
    , m_sources(sources)
    , m_source(wizard.sourcePage())
    , m_fieldMapPage(wizard.fieldMapPage())
    , m_progress(wizard.progress())
    , m_table(wizard.contactTable())
{
    connect(m_source->CmdBrowseXlSheet, &QToolButton::clicked, this, &ExcelAccessController::CmdBrowseXlSheet_Click);
    // Choosing an entry, by the user or by the listing, asks for the columns to be read again.
    connect(m_source->cboSheets, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) {
            cboSheets_Click();
        }
    });
    connect(m_source->txtXlSheet, &QLineEdit::editingFinished, this, &ExcelAccessController::txtXlSheet_LostFocus);
    connectAccessPanel();
}

void ExcelAccessController::ListRememberedSources()
{
    // A remembered workbook that has gone is passed over without a word.
    const QString workbook = m_source->txtXlSheet->text();
    if (!workbook.isEmpty() && FileExists(workbook)) {
        ListExcelSheets(workbook);
    }
    // The table list of the remembered database; a database that cannot be opened now (a
    // stale password, say) stays silent and shows "(No Tables)".
    const QString database = m_source->txtMdbFile->text();
    if (!database.isEmpty() && FileExists(database)) {
        ListAccessTables(database);
    }
}

void ExcelAccessController::CmdBrowseXlSheet_Click()
{
    const QString chosen = m_sources.pickSourceFile(u"Microsoft Excel Files (*.xls;*.xlsx)|*.xls;*.xlsx"_s,
                                                    TextUtil::trimSpaces(m_source->txtXlSheet->text()), isWorkbookName);
    if (chosen.isEmpty()) {
        return;
    }
    m_source->txtXlSheet->setText(chosen);
    ListExcelSheets(QString());
    m_sources.setOpenedSource(std::nullopt);
    m_sources.setMapImported(false);
}

void ExcelAccessController::cboSheets_Click()
{
    m_sources.setOpenedSource(std::nullopt);
}

void ExcelAccessController::txtXlSheet_LostFocus()
{
    if (m_source->txtXlSheet->text().isEmpty()) {
        m_source->cboSheets->clear();
    }
}

void ExcelAccessController::ListExcelSheets(const QString& lastFile)
{
    const QString path = TextUtil::trimSpaces(m_source->txtXlSheet->text());
    if (!FileExists(path)) {
        fileGoneWithCancel();
        return;
    }
    WaitCursor wait;
    // A workbook that cannot be opened leaves the list as it was, without a word.
    const Result<std::unique_ptr<Workbook>> book = Workbook::open(path);
    if (!book.ok()) {
        return;
    }
    QComboBox* sheets = m_source->cboSheets;
    sheets->clear();
    const QStringList names = book.value()->sheetNames();
    sheets->addItems(names);
    if (names.isEmpty()) {
        sheets->setEditText(u"(No Sheets)"_s);
        return;
    }
    sheets->setEnabled(true);
    m_source->lblSheets->setEnabled(true);
    sheets->setCurrentIndex(ExcelImport::chooseSheet(names, lastFile, m_source->txtXlSheet->text(),
                                                     SettingsStore::instance().value(Keys::ExcelSheetNameWrite)));
}

void ExcelAccessController::OpenExcelSource()
{
    QLineEdit* box = m_source->txtXlSheet;
    QComboBox* sheets = m_source->cboSheets;
    if (!m_sources.hasFileName(box)) {
        return;
    }
    const QString path = TextUtil::trimSpaces(box->text());
    if (box->text() == m_sources.openedSource()) {
        m_wizard.ShowPage(FrmMailMerge::FieldMapping);
        m_progress->finish();
        return;
    }
    FrmMailMerge::setTag(sheets, QString());
    if (sheets->currentText().isEmpty()) {
        // Nothing chosen: the map page shows what it holds.
        m_wizard.ShowPage(FrmMailMerge::FieldMapping);
        m_progress->finish();
        return;
    }
    WaitCursor wait;
    const auto importing = m_sources.markImporting();
    m_sources.fieldMap().setColumns({});
    m_sources.setMappedSource(SourceKind::Excel);
    FrmMailMerge::setTag(sheets, sheets->currentText());
    m_progress->BeginProgress(17);
    m_progress->advance();
    const std::optional<QStringList> headings = ReadSheetHeadings(sheets->currentIndex() + 1);
    if (!headings) {
        m_sources.showFieldMap();
        m_progress->finish();
        return;
    }
    m_sources.fieldMap().setColumns(*headings);
    // Filling the map's boxes afresh counts as a change of the map: the rows are read again.
    m_sources.setMapImported(false);
    m_sources.PrepareMapPage(MapSection{ExcelTag, u"ExFilename"_s}, path, sheets->currentText());
    m_sources.setOpenedSource(box->text());
    if (!m_sources.fieldMap().columns.isEmpty()) {
        m_wizard.ShowPage(FrmMailMerge::FieldMapping);
    } else {
        FrmMailMerge::setTag(sheets, QString());
        m_sources.setOpenedSource(std::nullopt);
    }
    m_progress->finish();
}

std::optional<QStringList> ExcelAccessController::ReadSheetHeadings(int sheetNumber)
{
    const QString path = TextUtil::trimSpaces(m_source->txtXlSheet->text());
    if (!FileExists(path)) {
        fileGoneWithCancel();
        return QStringList();
    }
    const Result<Worksheet> sheet = ExcelImport::readSheet(path, sheetNumber);
    if (!sheet.ok()) {
        return std::nullopt;
    }
    return ExcelImport::ReadSheetHeadings(sheet.value());
}

void ExcelAccessController::ImportExcelSheet()
{
    if (m_sources.mapImported() || ReadExcelRows()) {
        m_wizard.ShowPage(FrmMailMerge::Contacts);
        m_sources.setMapImported(true);
    }
    m_sources.endImport();
}

bool ExcelAccessController::ReadExcelRows()
{
    if (FieldMapMemory::MapIsEmpty(m_sources.fieldMap())) {
        MessageBoxes::information(u"Please Map any Field"_s);
        return false;
    }
    m_table.clear();
    WaitCursor wait;
    const auto importing = m_sources.markImporting();
    m_wizard.contactsController()->ApplyCustomHeadings(m_sources.fieldMap());
    const QString path = TextUtil::trimSpaces(m_source->txtXlSheet->text());
    if (!FileExists(path)) {
        fileGoneWithCancel();
        return false;
    }
    // An unreadable workbook ends the step as it stands, without a word.
    const Result<Worksheet> sheet = ExcelImport::readSheet(path, m_source->cboSheets->currentIndex() + 1);
    if (!sheet.ok()) {
        return false;
    }
    m_progress->BeginProgress(sheet->usedRange().rows);
    if (!m_sources.takeImportedRows(ExcelImport::importRows(sheet.value(), m_fieldMapPage->ChkSkip->isChecked(),
                                                            m_sources.fieldMap().listIndex,
                                                            [this](int row) { m_sources.importRowRead(row); }))) {
        return false; // a sheet with no rows after the skip stays on the map page
    }
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::ExcelFileName, m_source->txtXlSheet->text());
    store.setValue(Keys::ExcelSheetNameWrite, m_source->cboSheets->currentText());
    FieldMapMemory::SaveMap(m_sources.fieldMap(), ExcelTag);
    return true;
}

void ExcelAccessController::connectAccessPanel()
{
    connect(m_source->CmdBrowseMdbFile, &QToolButton::clicked, this, &ExcelAccessController::CmdBrowseMdbFile_Click);
    connect(m_source->chkPassWd, &QCheckBox::toggled, this, [this](bool checked) {
        m_source->txtPassword->setEnabled(checked);
        if (checked) {
            m_source->txtPassword->setFocus();
        }
    });
    // Enter in the password box reads the table list again.
    connect(m_source->txtPassword, &QLineEdit::returnPressed, this, [this] { ListAccessTables({}); });
    connect(m_source->CboTable, &QComboBox::activated, this, [this] { m_sources.setOpenedSource(std::nullopt); });
}

void ExcelAccessController::CmdBrowseMdbFile_Click()
{
    const QString chosen =
        m_sources.pickSourceFile(u"Microsoft Access MDBs (*.mdb;*.accdb)|*.mdb;*.accdb"_s, QString(), isDatabaseName);
    if (chosen.isEmpty()) {
        return;
    }
    m_source->txtMdbFile->setText(chosen);
    m_sources.setMapImported(false);
    m_source->txtPassword->clear();
    ListAccessTables(QString());
}

void ExcelAccessController::ListAccessTables(const QString& lastFile)
{
    WaitCursor wait;
    QComboBox* tables = m_source->CboTable;
    tables->clear();
    if (m_source->txtMdbFile->text().isEmpty()) {
        return;
    }
    if (const std::unique_ptr<AccessDatabase> database = OpenAccessDatabase()) {
        tables->addItems(AccessImport::userTables(database->tableNames()));
    }
    if (tables->count() == 0) {
        tables->addItem(AccessImport::NoTables.toString());
        m_source->lbltable->setEnabled(false);
        tables->setEnabled(false);
        return;
    }
    m_source->lbltable->setEnabled(true);
    tables->setEnabled(true);
    // The first table of a newly chosen database; for the remembered one, the remembered table
    // (none when it is gone); none when the listing was asked for another database.
    int chosen = 0;
    if (!lastFile.isEmpty()) {
        const QString saved = SettingsStore::instance().value(Keys::AccessTableName);
        if (lastFile != m_source->txtMdbFile->text()) {
            chosen = -1;
        } else if (!saved.isEmpty()) {
            chosen = tables->findText(saved, Qt::MatchExactly | Qt::MatchCaseSensitive);
        }
    }
    tables->setCurrentIndex(chosen);
    m_wizard.CmdNext()->setFocus();
}

std::unique_ptr<AccessDatabase> ExcelAccessController::OpenAccessDatabase()
{
    const QString path = m_source->txtMdbFile->text();
    Result<std::unique_ptr<AccessDatabase>> opened =
        AccessEngine::OpenDatabase(path, AccessImport::AccessConnect(path, m_source->txtPassword->text()));
    if (opened.ok()) {
        return std::move(opened).value();
    }
    // When the wizard first shows, a database that does not open (a stale password, a file
    // that changed) says nothing.
    if (m_wizard.firstShown()) {
        return nullptr;
    }
    const Error& error = opened.error();
    if (error.code == AccessEngine::InvalidPassword || error.message.contains(u"Not a valid password"_s)) {
        MessageBoxes::show(
            {u"Please enter a valid password!"_s, u"Password required!"_s, MessageButtons::Ok, MessageIcon::None});
        m_source->chkPassWd->setChecked(true);
        m_source->txtPassword->setEnabled(true);
        m_source->txtPassword->setFocus();
    } else {
        MessageBoxes::information(error.message);
    }
    return nullptr;
}

void ExcelAccessController::OpenAccessSource()
{
    WaitCursor wait;
    QComboBox* tables = m_source->CboTable;
    if (tables->currentText() == AccessImport::NoTables) {
        return;
    }
    const QString path = TextUtil::trimSpaces(m_source->txtMdbFile->text());
    if (!FileExists(path)) {
        MessageBoxes::show({u"File Doesn't Exists"_s, u"Quillbay+"_s, MessageButtons::OkCancel});
        return;
    }
    const auto importing = m_sources.markImporting();
    if (m_source->txtMdbFile->text() != m_sources.openedSource()) {
        FrmMailMerge::setTag(tables, QString());
        if (!tables->currentText().isEmpty()) {
            m_sources.fieldMap().setColumns({});
            m_sources.setMappedSource(SourceKind::Access);
            FrmMailMerge::setTag(tables, tables->currentText());
            m_progress->BeginProgress(17);
            m_progress->advance();
            m_sources.fieldMap().setColumns(ReadTableColumns(tables->currentIndex()));
            // New columns on the map page: the next Next on it reads the rows again.
            m_sources.setMapImported(false);
            m_sources.PrepareMapPage(MapSection{QString::fromLatin1(Keys::AccessSection), u"MDBFileName"_s}, path,
                                     tables->currentText());
            m_sources.setOpenedSource(m_source->txtMdbFile->text());
            if (m_sources.fieldMap().columns.isEmpty()) {
                FrmMailMerge::setTag(tables, QString());
                m_sources.setOpenedSource(std::nullopt);
                m_progress->finish();
                return;
            }
        }
    }
    m_wizard.ShowPage(FrmMailMerge::FieldMapping);
    m_progress->finish();
}

QStringList ExcelAccessController::ReadTableColumns(int tableIndex)
{
    // An error in opening ends the step without the password dialogue.
    const QString path = m_source->txtMdbFile->text();
    const Result<std::unique_ptr<AccessDatabase>> database =
        AccessEngine::OpenDatabase(path, AccessImport::AccessConnect(path, m_source->txtPassword->text()));
    if (!database.ok()) {
        return {};
    }
    const Result<std::unique_ptr<AccessRecordset>> table =
        database.value()->openRecordset(m_source->CboTable->itemText(tableIndex));
    if (!table.ok()) {
        return {};
    }
    if (table.value()->recordCount() > 0) {
        return table.value()->fieldNames();
    }
    MessageBoxes::information(u"No Records!"_s);
    return {};
}

void ExcelAccessController::ImportAccessTable()
{
    if (!m_sources.mapImported()) {
        if (FieldMapMemory::MapIsEmpty(m_sources.fieldMap())) {
            MessageBoxes::information(u"Please Map any Field"_s);
            m_sources.endImport();
            return;
        }
        m_table.clear();
        WaitCursor wait;
        const auto importing = m_sources.markImporting();
        m_wizard.contactsController()->ApplyCustomHeadings(m_sources.fieldMap());
        const QString path = TextUtil::trimSpaces(m_source->txtMdbFile->text());
        if (!FileExists(path)) {
            MessageBoxes::show({u"File Doesn't Exists"_s, u"Quillbay+"_s, MessageButtons::OkCancel});
            m_sources.endImport();
            return;
        }
        std::vector<Contact> rows;
        {
            // The database stays open for the length of this step only.
            const QString name = m_source->txtMdbFile->text();
            const Result<std::unique_ptr<AccessDatabase>> database =
                AccessEngine::OpenDatabase(name, AccessImport::AccessConnect(name, m_source->txtPassword->text()));
            Result<std::unique_ptr<AccessRecordset>> table =
                database.ok() ? database.value()->openRecordset(FrmMailMerge::Tag(m_source->CboTable))
                              : Result<std::unique_ptr<AccessRecordset>>(database.error());
            if (table.ok() && table.value()->recordCount() == 0) {
                MessageBoxes::information(u"No Records!"_s);
            } else if (table.ok()) {
                AccessRecordset& records = *table.value();
                m_progress->BeginProgress(records.recordCount());
                rows = AccessImport::importRows(records, m_sources.fieldMap().listIndex,
                                                [this](int rowsRead) { m_sources.importRowRead(rowsRead); });
                // A table whose rows break off (a damaged database) ends the step silently.
                if (records.failed()) {
                    rows.clear();
                }
            }
        }
        if (!m_sources.takeImportedRows(std::move(rows))) {
            return;
        }
        SettingsStore& store = SettingsStore::instance();
        store.setValue(Keys::MdbFileNameWrite, m_source->txtMdbFile->text());
        store.setValue(Keys::AccessTableName, m_source->CboTable->currentText());
        store.setValue(Keys::AccessPassword, m_source->txtPassword->text());
        FieldMapMemory::SaveMap(m_sources.fieldMap(), QString::fromLatin1(Keys::AccessSection));
    }
    m_wizard.ShowPage(FrmMailMerge::Contacts);
    m_sources.setMapImported(true);
    m_sources.endImport();
}
