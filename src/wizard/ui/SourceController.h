#pragma once

#include "contacts/DataSources.h"
#include "contacts/DelimitedText.h"
#include "contacts/FieldMap.h"

#include <QObject>
#include <QScopedValueRollback>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

class AddressBookController;
class ContactSelection;
class ContactTable;
class ContactsPage;
class ExcelAccessController;
class FieldMapPage;
class FrmMailMerge;
class ProgressPanel;
class QLineEdit;
class SourcePage;
struct Contact;
struct WizardMemoryValues;

// The first pages of the merge wizard: the contact source (page 0) and the map of its columns
// onto the merge fields (page 6). Reads the chosen source into the wizard's contact table; the
// address book and the mail client's folder go straight to the contact page, the mapped sources
// through the map page. The text files are read here; the address book and the mail client's
// folder by an AddressBookController, the workbook and the database by an ExcelAccessController,
// both of which share the map and the import steps below.
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

    // Shared with the controllers of the other sources: the map they fill, what the map page
    // shows, and the steps of an import.
    FieldMap& fieldMap() { return m_map; }
    void setOpenedSource(std::optional<QString> path) { m_openedSource = std::move(path); }
    void setMapImported(bool imported) { m_mapImported = imported; }
    void setMappedSource(SourceKind source) { m_mappedSource = source; }
    // Marks a source as being read until the returned guard goes.
    [[nodiscard]] QScopedValueRollback<bool> markImporting();
    // Next on a file source with an empty file box: "Choose a Valid file!" and the focus to the box.
    bool hasFileName(QLineEdit* box);
    // The source file the user picks in the file dialog, or "" for a cancelled dialog or, after
    // "Not a Legal Source", for a name `isLegal` refuses.
    QString pickSourceFile(const QString& filter, const QString& start, bool (*isLegal)(const QString&));
    // After each row read, the progress advances and every 200th row the pending events are let
    // through; the rows read go into the contact table (false, the step ended, when there are
    // none); the step's end hides the progress and counts the rows as selected.
    void importRowRead(qsizetype rowsRead);
    bool takeImportedRows(std::vector<Contact> rows);
    void endImport();
    // The map page for the columns just read from the source.
    void PrepareMapPage(const MapSection& where, const QString& path, const QString& chosenSheetOrTable);
    void showFieldMap();

private:
    void connectSourcePage();
    void connectFieldMapPage();
    void ShowSourcePanel(int index);
    void LstDataSrc_Click(int index);
    // The path the file panel keeps for the address book or a text kind.
    QString& fileOf(SourceKind kind);
    void CmdBrowseWab_Click();
    void OpenTextSource(TextKind kind);
    void ImportTextFile(TextKind kind);

    // The map page.
    void mapChanged();

    FrmMailMerge& m_wizard;
    SourcePage* m_source;
    FieldMapPage* m_fieldMapPage;
    ContactsPage* m_contacts;
    ProgressPanel* m_progress;
    ContactTable& m_table;
    ContactSelection& m_selection;
    AddressBookController* m_addressBook;
    ExcelAccessController* m_excelAccess;

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
