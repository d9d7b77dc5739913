#include "SourceController.h"

#include "AddressBookController.h"
#include "ContactsController.h"
#include "ExcelAccessController.h"
#include "FrmMailMerge.h"
#include "ProgressPanel.h"
#include "WizardPages.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/TextSource.h"
#include "core/Dialogs.h"
#include "core/MessageBoxes.h"
#include "core/PlainFile.h"
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
#include <QStackedWidget>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

// A tab-separated list is a .txt file; a comma-separated one a .csv or a .txt.
bool isTabFileName(const QString& name)
{
    return name.right(3).toUpper() == u"TXT"_s;
}

bool isCommaFileName(const QString& name)
{
    return isTabFileName(name) || name.right(3).toUpper() == u"CSV"_s;
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
    , m_addressBook(new AddressBookController(wizard, *this))
    , m_excelAccess(new ExcelAccessController(wizard, *this))
{
    connectSourcePage();
    connectFieldMapPage();
}

void SourceController::connectSourcePage()
{
    connect(m_source->LstDataSrc, &QListWidget::currentRowChanged, this, &SourceController::LstDataSrc_Click);
    connect(m_source->CmdBrowseWab, &QToolButton::clicked, this, &SourceController::CmdBrowseWab_Click);
}

void SourceController::ListRememberedSources()
{
    m_excelAccess->ListRememberedSources();
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
        m_addressBook->ResolveDefaultContactFolder();
    }
    ShowSourcePanel(index);
}
void SourceController::ImportSource(SourceKind source)
{
    switch (source) {
    case SourceKind::AddressBook:
        m_addressBook->ImportWabFile();
        break;
    case SourceKind::MailClient:
        m_addressBook->ImportOutlookFolder();
        break;
    case SourceKind::Excel:
        m_excelAccess->OpenExcelSource();
        break;
    case SourceKind::Access:
        m_excelAccess->OpenAccessSource();
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
        m_excelAccess->ImportExcelSheet();
        break;
    case SourceKind::Access:
        m_excelAccess->ImportAccessTable();
        break;
    default:
        break;
    }
}

void SourceController::CmdBrowseWab_Click()
{
    if (m_fileBoxKind == SourceKind::AddressBook) {
        if (const QString chosen = m_addressBook->BrowseAddressBook(); !chosen.isEmpty()) {
            m_wabFile = chosen;
        }
        return;
    }
    const bool tab = m_fileBoxKind == SourceKind::TabText;
    const QString filter = tab ? u"Text Documents (*.txt)|*.txt"_s
                               : u"Comma Separated Values (*.csv)|*.csv|Text Documents (*.txt)|*.txt"_s;
    const QString chosen = pickSourceFile(filter, TextUtil::trimSpaces(m_source->txtWabfile->text()),
                                          tab ? isTabFileName : isCommaFileName);
    if (chosen.isEmpty()) {
        return;
    }
    fileOf(m_fileBoxKind) = chosen;
    m_source->txtWabfile->setText(chosen);
    m_openedSource.reset();
    m_mapImported = false;
}

QString SourceController::pickSourceFile(const QString& filter, const QString& start, bool (*isLegal)(const QString&))
{
    const QString chosen = Dialogs::ShowFileDialog(filter, start, &m_wizard);
    if (chosen.isEmpty() || isLegal(chosen)) {
        return chosen;
    }
    MessageBoxes::information(u"Not a Legal Source"_s);
    return {};
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

QScopedValueRollback<bool> SourceController::markImporting()
{
    return QScopedValueRollback<bool>(m_importing, true);
}

void SourceController::endImport()
{
    m_progress->finish();
    m_selection.resetToRowCount();
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
