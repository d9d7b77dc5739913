#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class AccessDatabase;
class ContactTable;
class FieldMapPage;
class FrmMailMerge;
class ProgressPanel;
class SourceController;
class SourcePage;

// The workbook and database panels of the first page: the sheets of a workbook and the tables
// of a database, listed and opened for the map page, and their rows read into the contact table
// on Next of the map page. The source page's controller owns it and lends it the map and the
// import steps it shares.
class ExcelAccessController : public QObject
{
    Q_OBJECT

public:
    ExcelAccessController(FrmMailMerge& wizard, SourceController& sources);

    // The first show of the wizard: the sheets of the remembered workbook and the tables of the
    // remembered database, where those files are still there.
    void ListRememberedSources();
    // Next on the first page: the columns of the chosen sheet or table onto the map page.
    void OpenExcelSource();
    void OpenAccessSource();
    // Next on the map page: the rows of the chosen sheet or table into the contact table.
    void ImportExcelSheet();
    void ImportAccessTable();

private:
    void CmdBrowseXlSheet_Click();
    void cboSheets_Click();
    void txtXlSheet_LostFocus();
    void ListExcelSheets(const QString& lastFile);
    // The column names of the chosen sheet; empty when the file is gone, nothing when the
    // workbook or the sheet cannot be read.
    std::optional<QStringList> ReadSheetHeadings(int sheetNumber);
    // Reads the chosen sheet's rows into the table; false when the step ends without rows.
    bool ReadExcelRows();
    void connectAccessPanel();
    void CmdBrowseMdbFile_Click();
    void ListAccessTables(const QString& lastFile);
    std::unique_ptr<AccessDatabase> OpenAccessDatabase();
    QStringList ReadTableColumns(int tableIndex);

    FrmMailMerge& m_wizard;
    SourceController& m_sources;
    SourcePage* m_source;
    FieldMapPage* m_fieldMapPage;
    ProgressPanel* m_progress;
    ContactTable& m_table;
};
