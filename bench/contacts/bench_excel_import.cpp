// Imports a workbook of 50,000 contacts and 16 columns (.xlsx, made at run time with openpyxl)
// the way the merge wizard does, and prints rows per second: once through the workbook reader
// and importer alone, once through the wizard window (offscreen) from the press of Next on the
// source page (the column names) and on the map page (the rows) to the contact page.

#include "BenchRun.h"
#include "contacts/ContactTable.h"
#include "contacts/ExcelImport.h"
#include "contacts/FieldMap.h"
#include "core/Dialogs.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/WizardPages.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileInfo>
#include <QListWidget>
#include <QProcess>
#include <QTemporaryDir>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

constexpr int Rows = 50000;
constexpr int Columns = 16;

QString makeWorkbook(const QTemporaryDir& dir)
{
    const QString path = dir.filePath(u"contacts.xlsx"_s);
    QProcess maker;
    maker.start(u"/usr/bin/python3"_s, {QStringLiteral(QUILLBAY_SOURCE_DIR "/tests/contacts/make_workbook.py"),
                                        u"big"_s, path, QString::number(Rows), QString::number(Columns)});
    if (!maker.waitForFinished(600000) || maker.exitCode() != 0) {
        std::printf("make_workbook.py failed: %s\n", maker.readAllStandardError().constData());
        return {};
    }
    return path;
}

} // namespace

int main(int argc, char* argv[])
{
    QTemporaryDir dir;
    prepareOffscreenRun(dir);
    QApplication app(argc, argv);
    const QString path = makeWorkbook(dir);
    if (path.isEmpty()) {
        return 1;
    }
    std::printf("workbook: %s (%lld bytes)\n", qPrintable(path), static_cast<long long>(QFileInfo(path).size()));

    // The reader and the importer alone: open, read the sheet, name the columns, fill the table.
    Stopwatch timer;
    timer.start();
    const Result<Worksheet> sheet = ExcelImport::readSheet(path, 1);
    if (!sheet.ok()) {
        std::printf("%s\n", qPrintable(sheet.error().message));
        return 1;
    }
    report("reading the sheet", timer, sheet->usedRange().rows);
    FieldMap map;
    map.setColumns(ExcelImport::ReadSheetHeadings(sheet.value()));
    FieldMapMemory::DefaultMap(map);
    for (int k = 0; k < 3; ++k) {
        map.choose(13 + k, 6 + k);
    }
    ContactTable table;
    table.appendRows(ExcelImport::importRows(sheet.value(), true, map.listIndex));
    report("reader and importer into the table", timer, table.count());

    // The wizard window: Next on the source page reads the column names, Next on the map page
    // reads the rows and shows the contact page; each reads the workbook afresh.
    FrmMailMerge* wizard = FrmMailMerge::instance();
    wizard->show();
    wizard->sourcePage()->LstDataSrc->setCurrentRow(2);
    Dialogs::setNextResult(path);
    wizard->sourcePage()->CmdBrowseXlSheet->click();
    timer.start();
    wizard->CmdNext_Click();
    report("wizard window, Next to the map", timer, Rows);
    wizard->fieldMapPage()->ChkSkip->setChecked(true);
    timer.start();
    wizard->CmdNext_Click();
    report("wizard window, Next to contacts", timer, wizard->contactTable().count());
    const bool ok = wizard->currentPage() == FrmMailMerge::Contacts && wizard->contactTable().count() == Rows &&
                    table.count() == Rows;
    std::printf("%s\n", ok ? "all rows imported" : "IMPORT INCOMPLETE");
    wizard->close();
    return ok ? 0 : 1;
}
