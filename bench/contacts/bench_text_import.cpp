// Imports a comma-separated contact list of 100,000 rows and 16 columns, the way the merge
// wizard does, and prints rows per second: once through the importer alone, once through the
// wizard window (offscreen), from the press of Next on the map page to the contact page.

#include "BenchRun.h"
#include "composer/ComposePage.h"
#include "contacts/ContactTable.h"
#include "contacts/DelimitedText.h"
#include "contacts/FieldMap.h"
#include "core/Dialogs.h"
#include "core/SettingsStore.h"
#include "wizard/ui/ContactListView.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/WizardPages.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QListWidget>
#include <QScrollBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolButton>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Rows = 100000;

QString writeList(const QTemporaryDir& dir)
{
    const QString path = dir.filePath(u"contacts.csv"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return {};
    }
    file.write("First Name,Last Name,Job Title,Company,Business Street,Business City,Business State,"
               "Business Zip,Business Country,Business Phone,Business Fax,Web Page,Email,Member,Region,Since\r\n");
    QByteArray line;
    for (int i = 0; i < Rows; ++i) {
        line.clear();
        line += "Name" + QByteArray::number(i) + ",Surname" + QByteArray::number(i % 977) + ",Manager,";
        line += (i % 10 == 0) ? QByteArray("\"Acme, Inc\",") : QByteArray("Acme ") + QByteArray::number(i % 50) + ',';
        line += QByteArray::number(i) + " Main Street,Leeds,West Yorkshire,LS" + QByteArray::number(i % 99) +
                ",United Kingdom,+44 113 555 " + QByteArray::number(i % 10000) +
                ",+44 113 555 0000,"
                "www.example.com,person" +
                QByteArray::number(i) + "@example.com,M-" + QByteArray::number(i) + ",North,2019\r\n";
        file.write(line);
    }
    return path;
}

} // namespace

int main(int argc, char* argv[])
{
    QTemporaryDir dir;
    prepareOffscreenRun(dir);
    QApplication app(argc, argv);
    const QString path = writeList(dir);
    std::printf("contact list: %s (%lld bytes)\n", qPrintable(path), static_cast<long long>(QFileInfo(path).size()));

    // The importer alone: read, split, map, fill the table.
    Stopwatch timer;
    timer.start();
    const Result<QString> text = DelimitedText::readText(path);
    if (!text.ok()) {
        std::printf("%s\n", qPrintable(text.error().message));
        return 1;
    }
    FieldMap map;
    map.setColumns(DelimitedText::firstLineColumns(text.value(), TextKind::Comma));
    FieldMapMemory::DefaultMap(map);
    for (int k = 0; k < 3; ++k) {
        map.choose(13 + k, 13 + k);
    }
    std::vector<Contact> rows = DelimitedText::importRows(text.value(), TextKind::Comma, true, map.listIndex);
    ContactTable table;
    table.appendRows(std::move(rows));
    report("importer into the contact table", timer, table.count());

    // The wizard window: Next on the map page imports and shows the contact page.
    FrmMailMerge* wizard = FrmMailMerge::instance();
    wizard->show();
    wizard->sourcePage()->LstDataSrc->setCurrentRow(5);
    Dialogs::setNextResult(path);
    wizard->sourcePage()->CmdBrowseWab->click();
    wizard->CmdNext_Click();
    wizard->fieldMapPage()->ChkSkip->setChecked(true);
    timer.start();
    wizard->CmdNext_Click();
    report("wizard window, Next to contacts", timer, wizard->contactTable().count());
    const bool ok = wizard->currentPage() == FrmMailMerge::Contacts && wizard->contactTable().count() == Rows;
    std::printf("%s\n", ok ? "all rows imported" : "IMPORT INCOMPLETE");

    // Scrolling: a page down at a time through the whole list, each step painted.
    QTableView* list = wizard->contactsPage()->LsvSelection;
    QScrollBar* bar = list->verticalScrollBar();
    constexpr int Frames = 200;
    timer.start();
    for (int frame = 1; frame <= Frames; ++frame) {
        bar->setValue(bar->maximum() * frame / Frames);
        list->viewport()->repaint();
    }
    std::printf("%-34s %8d frames in %6lld ms (cpu %6lld ms) = %6.2f ms a frame\n", "scrolling the contact list",
                Frames, static_cast<long long>(timer.wallMs()), static_cast<long long>(timer.cpuMs()),
                static_cast<double>(timer.wallMs()) / Frames);

    // On to the composer: the recipient lists are filled from the checked rows.
    wizard->CmdNext_Click();
    timer.start();
    wizard->CmdNext_Click();
    report("wizard window, Next to composer", timer, wizard->composePage()->CboPTo->count());
    wizard->close();
    return ok ? 0 : 1;
}
