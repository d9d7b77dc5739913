#include "SourceController.h"

#include "ContactsController.h"
#include "FrmMailMerge.h"
#include "FrmPick.h"
#include "ProgressPanel.h"
#include "WizardPages.h"
#include "contacts/AccessImport.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/ExcelImport.h"
#include "contacts/TextSource.h"
#include "contacts/WabReader.h"
#include "core/CommonRoutines.h"
#include "core/Dialogs.h"
#include "core/ListSeparator.h"
#include "core/MessageBoxes.h"
#include "core/PlainFile.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "core/TextUtil.h"
#include "core/WaitCursor.h"
#include "wizard/WizardMemory.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QStackedWidget>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

const QString ExcelTag = u"XlSheet"_s;
const QString FileGone = u"File Doesn't Exists"_s;

// "File Doesn't Exists" as the spreadsheet stages show it, with OK and Cancel.
void fileGoneWithCancel()
{
    MessageBoxes::show(Message{FileGone, u"Quillbay+"_s, MessageButtons::OkCancel, MessageIcon::Information});
}

// The address book and the two text kinds share one file panel, which keeps a path for each.
bool usesFileBox(int sourceIndex)
{
    const auto kind = static_cast<SourceKind>(sourceIndex);
    return kind == SourceKind::AddressBook || kind == SourceKind::TabText || kind == SourceKind::CommaText;
}

} // namespace

SourceController::SourceController(FrmMailMerge& wizard)
    : QObject(&wizard)
    , m_wizard(wizard)
    , m_source(wizard.sourcePage())
    , m_fieldMapPage(wizard.fieldMapPage())
    , m_contacts(wizard.contactsPage())
    , m_progress(wizard.progress())
    , m_table(wizard.contactTable())
    , m_selection(wizard.selection())
{
    connectSourcePage();
    connectFieldMapPage();
}

void SourceController::connectSourcePage()
{
    connect(m_source->LstDataSrc, &QListWidget::currentRowChanged, this, &SourceController::LstDataSrc_Click);
    connect(m_source->CmdBrowseWab, &QToolButton::clicked, this, &SourceController::CmdBrowseWab_Click);
    connect(m_source->CmdBrowse, &QToolButton::clicked, this, &SourceController::CmdBrowse_Click);
    connect(m_source->CmdBrowseXlSheet, &QToolButton::clicked, this, &SourceController::CmdBrowseXlSheet_Click);
    // Choosing an entry, by the user or by the listing, asks for the columns to be read again.
    connect(m_source->cboSheets, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) {
            cboSheets_Click();
        }
    });
    connect(m_source->txtXlSheet, &QLineEdit::editingFinished, this, &SourceController::txtXlSheet_LostFocus);
    connectAccessPanel();
}

void SourceController::ListRememberedSources()
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

void SourceController::loadMemory(const WizardMemoryValues& values)
{
    m_wabFile = values.wabFile;
    m_source->txtWabfile->setText(values.wabFile);
    m_fileBoxKind = SourceKind::AddressBook;
    m_tabFile = values.tabFile;
    m_commaFile = values.commaFile;
    m_source->txtMdbFile->setText(values.mdbFile);
    m_source->txtPassword->setText(values.password);
    m_source->txtXlSheet->setText(values.xlFile);
    for (int k = 0; k < 4; ++k) {
        m_fieldMapPage->TxtBlank[k]->setText(values.blanks.texts[k]);
    }
}

void SourceController::saveMemory(WizardMemoryValues& values) const
{
    values.wabFile = m_wabFile;
    values.tabFile = m_tabFile;
    values.commaFile = m_commaFile;
    values.contactFolderName = m_source->txtContact->text();
    values.contactEntryId = FrmMailMerge::Tag(m_source->txtContact);
    values.xlFile = m_source->txtXlSheet->text();
    values.xlSheet = m_source->cboSheets->currentText();
    values.mdbFile = m_source->txtMdbFile->text();
    values.tableName = m_source->CboTable->currentText();
    values.password = m_source->txtPassword->text();
    for (int k = 0; k < 4; ++k) {
        values.blanks.texts[k] = m_fieldMapPage->TxtBlank[k]->text();
    }
}

void SourceController::FillSourceList()
{
    m_source->LstDataSrc->blockSignals(true);
    m_source->LstDataSrc->clear();
    m_source->LstDataSrc->addItems(DataSources::entries());
    m_source->LstDataSrc->blockSignals(false);
}
void SourceController::ShowSourcePanel(int index)
{
    m_shownSourceIndex = index;
    QLineEdit* box = m_source->txtWabfile;
    switch (static_cast<SourceKind>(index)) {
    case SourceKind::AddressBook:
        box->setText(m_wabFile);
        m_source->lblCommon->setText(u"Import Contacts Data from Windows Address book or Outlook Express .wab file"_s);
        break;
    case SourceKind::TabText:
        box->setText(m_tabFile);
        m_source->lblCommon->setText(u"Import Contacts Data from a text file with Tab seperated values"_s);
        break;
    case SourceKind::CommaText:
        box->setText(m_commaFile);
        m_source->lblCommon->setText(u"Import Contacts Data from a text file with Comma Seperated Values"_s);
        break;
    default:
        m_source->panels->setCurrentIndex(index);
        return;
    }
    m_fileBoxKind = static_cast<SourceKind>(index);
    // The address book and both text kinds share the first panel.
    m_source->panels->setCurrentIndex(0);
}

QString& SourceController::fileOf(SourceKind kind)
{
    if (kind == SourceKind::TabText) {
        return m_tabFile;
    }
    return kind == SourceKind::CommaText ? m_commaFile : m_wabFile;
}

void SourceController::showChosenPanel()
{
    m_source->panels->setCurrentIndex(usesFileBox(m_shownSourceIndex) ? 0 : m_shownSourceIndex);
}
void SourceController::LstDataSrc_Click(int index)
{
    if (index < 0) {
        return;
    }
    if (usesFileBox(index)) {
        // The box's text stays with the source it was typed for.
        fileOf(m_fileBoxKind) = TextUtil::trimSpaces(m_source->txtWabfile->text());
    }
    if (index == int(SourceKind::MailClient) && m_source->txtContact->text().isEmpty()) {
        ResolveDefaultContactFolder();
    }
    ShowSourcePanel(index);
}
void SourceController::ImportSource(SourceKind source)
{
    switch (source) {
    case SourceKind::AddressBook:
        ImportWabFile();
        break;
    case SourceKind::MailClient:
        ImportOutlookFolder();
        break;
    case SourceKind::Excel:
        OpenExcelSource();
        break;
    case SourceKind::Access:
        OpenAccessSource();
        break;
    case SourceKind::TabText:
        OpenTextSource(TextKind::Tab);
        break;
    case SourceKind::CommaText:
        OpenTextSource(TextKind::Comma);
        break;
    }
    if (source != SourceKind::MailClient) {
        m_fieldMapPage->ChkSkip->setEnabled(source != SourceKind::Access);
        FrmMailMerge::setTag(m_source->lblContact, QString());
    }
    if (source != SourceKind::AddressBook) {
        FrmMailMerge::setTag(m_source->lblWabName, QString());
    }
    if (!DataSources::isFileLike(int(source))) {
        m_mapImported = false;
    }
}

void SourceController::ImportMappedSource()
{
    if (!m_mappedSource) {
        return;
    }
    switch (*m_mappedSource) {
    case SourceKind::TabText:
        ImportTextFile(TextKind::Tab);
        break;
    case SourceKind::CommaText:
        ImportTextFile(TextKind::Comma);
        break;
    case SourceKind::Excel:
        ImportExcelSheet();
        break;
    case SourceKind::Access:
        ImportAccessTable();
        break;
    default:
        break;
    }
}

void SourceController::CmdBrowseWab_Click()
{
    if (m_fileBoxKind == SourceKind::AddressBook) {
        BrowseAddressBook();
        return;
    }
    const bool tab = m_fileBoxKind == SourceKind::TabText;
    const QString filter = tab ? u"Text Documents (*.txt)|*.txt"_s
                               : u"Comma Separated Values (*.csv)|*.csv|Text Documents (*.txt)|*.txt"_s;
    const QString chosen =
        Dialogs::ShowFileDialog(filter, TextUtil::trimSpaces(m_source->txtWabfile->text()), &m_wizard);
    if (chosen.isEmpty()) {
        return;
    }
    const QString ending = chosen.right(3).toUpper();
    if (ending != u"TXT"_s && (tab || ending != u"CSV"_s)) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    fileOf(m_fileBoxKind) = chosen;
    m_source->txtWabfile->setText(chosen);
    m_openedSource.reset();
    m_mapImported = false;
}

bool SourceController::hasFileName(QLineEdit* box)
{
    if (!box->text().isEmpty()) {
        return true;
    }
    MessageBoxes::information(u"Choose a Valid file!"_s);
    box->setFocus();
    return false;
}

void SourceController::BrowseAddressBook()
{
    m_mapImported = false;
    const QString chosen =
        Dialogs::ShowFileDialog(u"Address Books (*.wab;*.vcf)|*.wab;*.vcf|Windows Address Book (*.Wab)|*.wab|"
                                u"vCard Files (*.vcf)|*.vcf"_s,
                                TextUtil::trimSpaces(m_source->txtWabfile->text()), &m_wizard);
    if (chosen.isEmpty()) {
        return;
    }
    if (!AddressBook::hasAddressBookExtension(chosen)) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    m_wabFile = chosen;
    m_source->txtWabfile->setText(chosen);
    FrmMailMerge::setTag(m_source->lblWabName, QString());
}

void SourceController::ImportWabFile()
{
    QLineEdit* box = m_source->txtWabfile;
    if (box->text().isEmpty()) {
        MessageBoxes::information(u"Choose a Valid file!"_s);
        box->setFocus();
        return;
    }
    const auto closing = qScopeGuard([this] {
        m_progress->finish();
        m_selection.resetToRowCount();
    });
    if (FrmMailMerge::Tag(m_source->lblWabName) != box->text()) {
        const QString path = box->text();
        if (!AddressBook::hasAddressBookExtension(path)) {
            MessageBoxes::information(u"Choose a Valid file!"_s);
            return;
        }
        if (!FileExists(path)) {
            MessageBoxes::information(u"File Doesn't Exists"_s);
            return;
        }
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        m_table.clear();
        WabReader reader;
        if (const Status opened = reader.open(path); !opened.ok()) {
            // A damaged book says what is wrong with it; the wizard stays on its page.
            MessageBoxes::information(opened.error().message);
            return;
        }
        const int count = reader.count();
        m_progress->BeginProgress(count);
        if (count < 1) {
            MessageBoxes::show(
                {u"Contacts are not Available"_s, u"Quillbay+"_s, MessageButtons::OkCancel, MessageIcon::Information});
        } else {
            m_wizard.contactsController()->hideCustomColumns();
            // The bar's width is kept as a whole number of twips, rounded at each record: with
            // more than 8000 records a step rounds to nothing and the bar stands still.
            const double step = ProgressPanel::FullWidth / count;
            int width = 0;
            std::vector<Contact> rows;
            for (int k = 0; k < count; ++k) {
                reader.select(k);
                AddWabRow(reader, rows);
                width = qRound(width + step);
                m_progress->setWidth(width);
                if ((k + 1) % 200 == 0) {
                    m_table.appendRows(std::move(rows));
                    rows.clear();
                    QCoreApplication::processEvents();
                }
            }
            m_table.appendRows(std::move(rows));
        }
        reader.close();
        FrmMailMerge::setTag(m_source->lblWabName, box->text());
    }
    m_wizard.ShowPage(FrmMailMerge::Contacts);
}

void SourceController::AddWabRow(const WabReader& reader, std::vector<Contact>& rows)
{
    Contact row;
    row.cells = AddressBook::rowCells(reader);
    rows.push_back(std::move(row));
    m_wizard.changes().recipients = true;
}

void SourceController::ResolveDefaultContactFolder()
{
    // This reading of the remembered folder has an empty default, unlike the key's declaration.
    QLineEdit* box = m_source->txtContact;
    const SettingsStore& store = SettingsStore::instance();
    box->setText(store.GetSetting(QString::fromLatin1(Keys::ContactsFolderName.section),
                                  QString::fromLatin1(Keys::ContactsFolderName.key)));
    FrmMailMerge::setTag(box, store.GetSetting(QString::fromLatin1(Keys::ContactsEntryId.section),
                                               QString::fromLatin1(Keys::ContactsEntryId.key)));
    if (box->text().isEmpty()) {
        if (const std::optional<MailFolder> contacts =
                MailClient::attach()->GetDefaultFolder(DefaultFolder::Contacts)) {
            box->setText(contacts->name);
            FrmMailMerge::setTag(box, contacts->entryId);
        }
    }
}

void SourceController::CmdBrowse_Click()
{
    FrmPick pick(&m_wizard);
    {
        WaitCursor wait;
        pick.LoadTreeSpecific();
    }
    pick.showModal();
    if (!pick.PickResult.isEmpty()) {
        const QStringList parts = pick.PickResult.split(ListSeparator());
        FrmMailMerge::setTag(m_source->lblContact, m_source->txtContact->text());
        m_source->txtContact->setText(parts.value(0));
        FrmMailMerge::setTag(m_source->txtContact, parts.value(1));
    }
}

void SourceController::ImportOutlookFolder()
{
    QLineEdit* box = m_source->txtContact;
    std::optional<MailFolder> folder;
    int itemCount = -1;
    if (FrmMailMerge::Tag(m_source->lblContact) != box->text()) {
        const std::unique_ptr<MailNamespace> client = MailClient::attach();
        folder = client->GetFolderFromID(FrmMailMerge::Tag(box));
        if (!folder || TextUtil::trimSpaces(box->text()) != folder->name) {
            MessageBoxes::information(u"Please Choose a Contact Folder"_s);
            m_progress->finish();
            m_selection.resetToRowCount();
            return;
        }
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        Result<std::vector<MailContactItem>> items = client->items(folder->entryId);
        if (!items.ok()) {
            // An address book that cannot be read says why; the wizard stays on its page.
            MessageBoxes::information(items.error().message);
            m_selection.resetToRowCount();
            return;
        }
        itemCount = static_cast<int>(items->size());
        if (itemCount > 0) {
            ReadContactItems(items.value());
            FrmMailMerge::setTag(m_source->lblContact, box->text());
        }
    }
    if (itemCount != 0) {
        m_wizard.ShowPage(FrmMailMerge::Contacts);
        m_wizard.CmdBack()->setEnabled(true);
        m_wizard.changes().recipients = true;
    }
    m_progress->finish();
    if (folder && itemCount == 0) {
        MessageBoxes::information(u"No Items Available in "_s + folder->name + u" Folder"_s);
    }
    m_selection.resetToRowCount();
}

void SourceController::ReadContactItems(const std::vector<MailContactItem>& items)
{
    m_table.clear();
    m_progress->BeginProgress(static_cast<double>(items.size()));
    m_wizard.contactsController()->hideCustomColumns();
    QCoreApplication::processEvents();
    std::vector<Contact> rows;
    int done = 0;
    for (const MailContactItem& item : items) {
        // Mailing lists and other items are passed over, though they count in the progress.
        if (std::optional<Contact> row = MailClient::contactRow(item)) {
            rows.push_back(std::move(*row));
        }
        m_progress->advance();
        if (++done % 200 == 0) {
            m_table.appendRows(std::move(rows));
            rows.clear();
            QCoreApplication::processEvents();
        }
    }
    m_table.appendRows(std::move(rows));
}

void SourceController::OpenTextSource(TextKind kind)
{
    QLineEdit* box = m_source->txtWabfile;
    if (!hasFileName(box)) {
        return;
    }
    const QString path = TextUtil::trimSpaces(box->text());
    if (PlainFile::kindOf(path) == PlainFile::Kind::Missing) {
        MessageBoxes::information(u"File Doesn't Exists"_s);
        return;
    }
    WaitCursor wait;
    const QScopedValueRollback importing(m_importing, true);
    if (box->text() == m_openedSource) {
        m_wizard.ShowPage(FrmMailMerge::FieldMapping);
    } else {
        m_mapImported = false;
        m_mappedSource = kind == TextKind::Tab ? SourceKind::TabText : SourceKind::CommaText;
        m_progress->BeginProgress(16);
        const Result<TextSource::OpenedList> list = TextSource::open(path, kind);
        if (!list.ok()) {
            // A folder, a pipe or an unreadable file says why; an empty one holds no contacts.
            m_progress->finish();
            MessageBoxes::information(list.error().message);
            return;
        }
        const QStringList columns = list->columns;
        m_map.setColumns(columns);
        PrepareMapPage(TextSource::mapSection(kind), path, {});
        m_openedSource = box->text();
        if (!columns.isEmpty()) {
            m_wizard.ShowPage(FrmMailMerge::FieldMapping);
        } else {
            m_openedSource.reset();
        }
    }
    m_progress->finish();
}

void SourceController::ImportTextFile(TextKind kind)
{
    if (!m_mapImported) {
        if (FieldMapMemory::MapIsEmpty(m_map)) {
            MessageBoxes::information(u"Please Map any Field"_s);
            endImport();
            return;
        }
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        m_table.clear();
        m_wizard.contactsController()->ApplyCustomHeadings(m_map);
        qsizetype linesRead = 0;
        std::vector<Contact> rows = TextSource::readRows(
            TextUtil::trimSpaces(m_source->txtWabfile->text()), kind, m_fieldMapPage->ChkSkip->isChecked(), m_map,
            [this](int lineCount) {
                m_progress->BeginProgress(lineCount);
                QCoreApplication::processEvents();
            },
            [this, &linesRead](qsizetype) { importRowRead(++linesRead); });
        if (!takeImportedRows(std::move(rows))) {
            return;
        }
        TextSource::remember(kind, kind == TextKind::Tab ? m_tabFile : m_commaFile, m_map);
    }
    m_wizard.ShowPage(FrmMailMerge::Contacts);
    m_mapImported = true;
    endImport();
}

void SourceController::importRowRead(qsizetype rowsRead)
{
    m_progress->advance();
    if (rowsRead % 200 == 0) {
        QCoreApplication::processEvents();
    }
}

bool SourceController::takeImportedRows(std::vector<Contact> rows)
{
    m_table.appendRows(std::move(rows));
    if (m_table.count() == 0) {
        endImport();
        return false;
    }
    m_wizard.changes().recipients = true;
    return true;
}

void SourceController::endImport()
{
    m_progress->finish();
    m_selection.resetToRowCount();
}

void SourceController::CmdBrowseXlSheet_Click()
{
    const QString chosen = Dialogs::ShowFileDialog(u"Microsoft Excel Files (*.xls;*.xlsx)|*.xls;*.xlsx"_s,
                                                   TextUtil::trimSpaces(m_source->txtXlSheet->text()), &m_wizard);
    if (chosen.isEmpty()) {
        return;
    }
    // A workbook of the newer kind (.xlsx) passes beside the .xls.
    if (chosen.right(3).toUpper() != u"XLS"_s && chosen.right(4).toUpper() != u"XLSX"_s) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    m_source->txtXlSheet->setText(chosen);
    ListExcelSheets(QString());
    m_openedSource.reset();
    m_mapImported = false;
}

void SourceController::cboSheets_Click()
{
    m_openedSource.reset();
}

void SourceController::txtXlSheet_LostFocus()
{
    if (m_source->txtXlSheet->text().isEmpty()) {
        m_source->cboSheets->clear();
    }
}

void SourceController::ListExcelSheets(const QString& lastFile)
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

void SourceController::OpenExcelSource()
{
    QLineEdit* box = m_source->txtXlSheet;
    QComboBox* sheets = m_source->cboSheets;
    if (!hasFileName(box)) {
        return;
    }
    const QString path = TextUtil::trimSpaces(box->text());
    if (box->text() == m_openedSource) {
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
    const QScopedValueRollback importing(m_importing, true);
    m_map.setColumns({});
    m_mappedSource = SourceKind::Excel;
    FrmMailMerge::setTag(sheets, sheets->currentText());
    m_progress->BeginProgress(17);
    m_progress->advance();
    const std::optional<QStringList> headings = ReadSheetHeadings(sheets->currentIndex() + 1);
    if (!headings) {
        showFieldMap();
        m_progress->finish();
        return;
    }
    m_map.setColumns(*headings);
    // Filling the map's boxes afresh counts as a change of the map: the rows are read again.
    m_mapImported = false;
    PrepareMapPage(MapSection{ExcelTag, u"ExFilename"_s}, path, sheets->currentText());
    m_openedSource = box->text();
    if (!m_map.columns.isEmpty()) {
        m_wizard.ShowPage(FrmMailMerge::FieldMapping);
    } else {
        FrmMailMerge::setTag(sheets, QString());
        m_openedSource.reset();
    }
    m_progress->finish();
}

std::optional<QStringList> SourceController::ReadSheetHeadings(int sheetNumber)
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

void SourceController::ImportExcelSheet()
{
    if (m_mapImported || ReadExcelRows()) {
        m_wizard.ShowPage(FrmMailMerge::Contacts);
        m_mapImported = true;
    }
    endImport();
}

bool SourceController::ReadExcelRows()
{
    if (FieldMapMemory::MapIsEmpty(m_map)) {
        MessageBoxes::information(u"Please Map any Field"_s);
        return false;
    }
    m_table.clear();
    WaitCursor wait;
    const QScopedValueRollback importing(m_importing, true);
    m_wizard.contactsController()->ApplyCustomHeadings(m_map);
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
    if (!takeImportedRows(ExcelImport::importRows(sheet.value(), m_fieldMapPage->ChkSkip->isChecked(), m_map.listIndex,
                                                  [this](int row) { importRowRead(row); }))) {
        return false; // a sheet with no rows after the skip stays on the map page
    }
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::ExcelFileName, m_source->txtXlSheet->text());
    store.setValue(Keys::ExcelSheetNameWrite, m_source->cboSheets->currentText());
    FieldMapMemory::SaveMap(m_map, ExcelTag);
    return true;
}

void SourceController::connectAccessPanel()
{
    connect(m_source->CmdBrowseMdbFile, &QToolButton::clicked, this, &SourceController::CmdBrowseMdbFile_Click);
    connect(m_source->chkPassWd, &QCheckBox::toggled, this, [this](bool checked) {
        m_source->txtPassword->setEnabled(checked);
        if (checked) {
            m_source->txtPassword->setFocus();
        }
    });
    // Enter in the password box reads the table list again.
    connect(m_source->txtPassword, &QLineEdit::returnPressed, this, [this] { ListAccessTables({}); });
    connect(m_source->CboTable, &QComboBox::activated, this, [this] { m_openedSource.reset(); });
}

void SourceController::CmdBrowseMdbFile_Click()
{
    const QString chosen =
        Dialogs::ShowFileDialog(u"Microsoft Access MDBs (*.mdb;*.accdb)|*.mdb;*.accdb"_s, QString(), &m_wizard);
    if (chosen.isEmpty()) {
        return;
    }
    if (chosen.right(3).toUpper() != u"MDB"_s && chosen.right(5).toUpper() != u"ACCDB"_s) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    m_source->txtMdbFile->setText(chosen);
    m_mapImported = false;
    m_source->txtPassword->clear();
    ListAccessTables(QString());
}

void SourceController::ListAccessTables(const QString& lastFile)
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

std::unique_ptr<AccessDatabase> SourceController::OpenAccessDatabase()
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

void SourceController::OpenAccessSource()
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
    const QScopedValueRollback importing(m_importing, true);
    if (m_source->txtMdbFile->text() != m_openedSource) {
        FrmMailMerge::setTag(tables, QString());
        if (!tables->currentText().isEmpty()) {
            m_map.setColumns({});
            m_mappedSource = SourceKind::Access;
            FrmMailMerge::setTag(tables, tables->currentText());
            m_progress->BeginProgress(17);
            m_progress->advance();
            m_map.setColumns(ReadTableColumns(tables->currentIndex()));
            // New columns on the map page: the next Next on it reads the rows again.
            m_mapImported = false;
            PrepareMapPage(MapSection{QString::fromLatin1(Keys::AccessSection), u"MDBFileName"_s}, path,
                           tables->currentText());
            m_openedSource = m_source->txtMdbFile->text();
            if (m_map.columns.isEmpty()) {
                FrmMailMerge::setTag(tables, QString());
                m_openedSource.reset();
                m_progress->finish();
                return;
            }
        }
    }
    m_wizard.ShowPage(FrmMailMerge::FieldMapping);
    m_progress->finish();
}

QStringList SourceController::ReadTableColumns(int tableIndex)
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

void SourceController::ImportAccessTable()
{
    if (!m_mapImported) {
        if (FieldMapMemory::MapIsEmpty(m_map)) {
            MessageBoxes::information(u"Please Map any Field"_s);
            endImport();
            return;
        }
        m_table.clear();
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        m_wizard.contactsController()->ApplyCustomHeadings(m_map);
        const QString path = TextUtil::trimSpaces(m_source->txtMdbFile->text());
        if (!FileExists(path)) {
            MessageBoxes::show({u"File Doesn't Exists"_s, u"Quillbay+"_s, MessageButtons::OkCancel});
            endImport();
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
                rows = AccessImport::importRows(records, m_map.listIndex,
                                                [this](int rowsRead) { importRowRead(rowsRead); });
                // A table whose rows break off (a damaged database) ends the step silently.
                if (records.failed()) {
                    rows.clear();
                }
            }
        }
        if (!takeImportedRows(std::move(rows))) {
            return;
        }
        SettingsStore& store = SettingsStore::instance();
        store.setValue(Keys::MdbFileNameWrite, m_source->txtMdbFile->text());
        store.setValue(Keys::AccessTableName, m_source->CboTable->currentText());
        store.setValue(Keys::AccessPassword, m_source->txtPassword->text());
        FieldMapMemory::SaveMap(m_map, QString::fromLatin1(Keys::AccessSection));
    }
    m_wizard.ShowPage(FrmMailMerge::Contacts);
    m_mapImported = true;
    endImport();
}

void SourceController::connectFieldMapPage()
{
    for (int field = 0; field < FieldMap::FieldCount; ++field) {
        QComboBox* box = m_fieldMapPage->CboField[field];
        connect(box, &QComboBox::activated, this, [this, field](int column) {
            m_map.choose(field, column);
            mapChanged();
        });
        connect(box, &QComboBox::editTextChanged, this, [this, field, box](const QString& text) {
            if (box->signalsBlocked() || text == m_map.text[field]) {
                return;
            }
            m_map.typeText(field, text);
            mapChanged();
        });
    }
    for (int k = 0; k < 3; ++k) {
        connect(m_fieldMapPage->txtCustom[k], &QLineEdit::textEdited, this, [this, k](const QString& text) {
            m_map.customNames[k] = text;
            mapChanged();
        });
    }
    connect(m_fieldMapPage->ChkSkip, &QCheckBox::clicked, this, [this] { m_mapImported = false; });
    connect(m_fieldMapPage->CmdDefault, &QPushButton::clicked, this, [this] {
        FieldMapMemory::DefaultMap(m_map);
        showFieldMap();
        mapChanged();
    });
    connect(m_fieldMapPage->CmdClear, &QPushButton::clicked, this, [this] {
        FieldMapMemory::ClearMap(m_map);
        showFieldMap();
        mapChanged();
    });
}

void SourceController::mapChanged()
{
    m_mapImported = false;
}

void SourceController::PrepareMapPage(const MapSection& where, const QString& path, const QString& chosenSheetOrTable)
{
    QCoreApplication::processEvents();
    for (int field = 1; field < FieldMap::FieldCount; ++field) {
        m_progress->advance();
    }
    FieldMapMemory::PrepareMapPage(m_map, where, path, chosenSheetOrTable);
    showFieldMap();
}

void SourceController::showFieldMap()
{
    for (int field = 0; field < FieldMap::FieldCount; ++field) {
        QComboBox* box = m_fieldMapPage->CboField[field];
        box->blockSignals(true);
        box->clear();
        box->addItems(m_map.columns);
        box->setCurrentIndex(m_map.listIndex[field]);
        box->setEditText(m_map.text[field]);
        box->blockSignals(false);
    }
    for (int k = 0; k < 3; ++k) {
        m_fieldMapPage->txtCustom[k]->setText(m_map.customNames[k]);
    }
}
