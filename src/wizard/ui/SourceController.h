#pragma once

#include "contacts/DataSources.h"
#include "contacts/DelimitedText.h"
#include "contacts/FieldMap.h"
#include "contacts/MailNamespace.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

class AccessDatabase;
class ContactSelection;
class ContactTable;
class ContactsPage;
class FieldMapPage;
class FrmMailMerge;
class ProgressPanel;
class QLineEdit;
class SourcePage;
class WabReader;
struct Contact;
struct WizardMemoryValues;

// The first pages of the merge wizard: the contact source (page 0) and the map of its columns
// onto the merge fields (page 6). Reads the chosen source into the wizard's contact table; the
// address book and the mail client's folder go straight to the contact page, the mapped sources
// through the map page.
class SourceController : public QObject
{
    Q_OBJECT

public:
    explicit SourceController(FrmMailMerge& wizard);

    void FillSourceList();
    // Next on the source page, for the source at that index of the list.
    void ImportSource(SourceKind source);
    // Next on the map page: reads the rows of the source whose columns the map shows.
    void ImportMappedSource();
    // The first show of the wizard: the sheets of the remembered workbook and the tables of the
    // remembered database, where those files are still there.
    void ListRememberedSources();
    // Shows the panel of the source last chosen in the list.
    void showChosenPanel();

    void loadMemory(const WizardMemoryValues& values);
    void saveMemory(WizardMemoryValues& values) const;

    const FieldMap& fieldMap() const { return m_map; }
    bool mapImported() const { return m_mapImported; }
    std::optional<QString> openedSource() const { return m_openedSource; }
    // True while a contact source is read: presses of Next, Back and Close are then dropped.
    bool importing() const { return m_importing; }
    // Which of the address book and the two text kinds the shared file panel serves now.
    SourceKind fileBoxKind() const { return m_fileBoxKind; }
    // The source whose columns the map page shows, once one has been opened.
    std::optional<SourceKind> mappedSource() const { return m_mappedSource; }

private:
    void connectSourcePage();
    void connectAccessPanel();
    void connectFieldMapPage();
    void ShowSourcePanel(int index);
    void LstDataSrc_Click(int index);
    // The path the file panel keeps for the address book or a text kind.
    QString& fileOf(SourceKind kind);
    void CmdBrowseWab_Click();
    // Next on a file source with an empty file box: "Choose a Valid file!" and the focus to the box.
    bool hasFileName(QLineEdit* box);
    // The address book: the file dialog of the shared file panel, and Next on the first page,
    // which fills the contact table at once (no map page) and rows of AddWabRow.
    void BrowseAddressBook();
    void ImportWabFile();
    void AddWabRow(const WabReader& reader, std::vector<Contact>& rows);
    // The mail client's contact folder: the folder the panel starts with, its dialog, and Next
    // on the first page, which fills the contact table at once from the folder's contacts.
    void ResolveDefaultContactFolder();
    void CmdBrowse_Click();
    void ImportOutlookFolder();
    void ReadContactItems(const std::vector<MailContactItem>& items);
    void OpenTextSource(TextKind kind);
    void ImportTextFile(TextKind kind);
    void CmdBrowseXlSheet_Click();
    void cboSheets_Click();
    void txtXlSheet_LostFocus();
    void ListExcelSheets(const QString& lastFile);
    void OpenExcelSource();
    // The column names of the chosen sheet; empty when the file is gone, nothing when the
    // workbook or the sheet cannot be read.
    std::optional<QStringList> ReadSheetHeadings(int sheetNumber);
    void ImportExcelSheet();
    // Reads the chosen sheet's rows into the table; false when the step ends without rows.
    bool ReadExcelRows();
    void CmdBrowseMdbFile_Click();
    void ListAccessTables(const QString& lastFile);
    std::unique_ptr<AccessDatabase> OpenAccessDatabase();
    void OpenAccessSource();
    QStringList ReadTableColumns(int tableIndex);
    void ImportAccessTable();

    // Steps shared by the importers of the mapped sources: after each row read, the progress
    // advances and every 200th row the pending events are let through; the rows read go into
    // the contact table (false, the step ended, when there are none); the step's end hides the
    // progress and counts the rows as selected.
    void importRowRead(qsizetype rowsRead);
    bool takeImportedRows(std::vector<Contact> rows);
    void endImport();

    // The map page.
    void PrepareMapPage(const MapSection& where, const QString& path, const QString& chosenSheetOrTable);
    void showFieldMap();
    void mapChanged();

    FrmMailMerge& m_wizard;
    SourcePage* m_source;
    FieldMapPage* m_fieldMapPage;
    ContactsPage* m_contacts;
    ProgressPanel* m_progress;
    ContactTable& m_table;
    ContactSelection& m_selection;

    FieldMap m_map;
    // The file whose columns the map page shows; none when another file, sheet or table was
    // chosen since, or when the last one opened had no columns.
    std::optional<QString> m_openedSource;
    bool m_mapImported = false;
    bool m_importing = false;
    QString m_wabFile;
    QString m_tabFile;
    QString m_commaFile;
    int m_shownSourceIndex = 0;
    SourceKind m_fileBoxKind = SourceKind::AddressBook;
    std::optional<SourceKind> m_mappedSource;
};
