#include "FrmShowLog.h"

#include "RecentDocuments.h"
#include "WindowPlacement.h"
#include "core/AppPaths.h"
#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/Twips.h"
#include "core/WaitCursor.h"
#include "wordlink/UserOffice.h"
#include "wordlink/WordStatus.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QStatusBar>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

constexpr int TagRole = Qt::UserRole;
const StoredRect LogRect{Keys::LogLeft, Keys::LogTop, Keys::LogWidth, Keys::LogHeight};

QPointer<FrmShowLog>& instancePointer()
{
    static QPointer<FrmShowLog> window;
    return window;
}

// What the user is told when a logged document does not open.
QString openFailureText(const QString& path)
{
    if (!QFileInfo(path).isFile()) {
        return u"The file could not be found:\n"_s + path;
    }
    return u"The office suite could not be started to open:\n"_s + path;
}

} // namespace

FrmShowLog* FrmShowLog::instance()
{
    if (instancePointer().isNull()) {
        instancePointer() = new FrmShowLog;
    }
    return instancePointer();
}

FrmShowLog::FrmShowLog(QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(u"FrmShowLog"_s);
    setWindowTitle(u"Quillbay+ : Last 50 Documents Log"_s);
    setAttribute(Qt::WA_DeleteOnClose);

    lvList = new QTreeWidget(this);
    lvList->setObjectName(u"lvList"_s);
    lvList->setRootIsDecorated(false);
    lvList->setUniformRowHeights(true);
    lvList->setHeaderLabels(
        {u"Document Name"_s, u"Path"_s, u"Accessed Date"_s, u"Modified Date"_s, u"Created On "_s, u"Size"_s});
    const int widths[] = {2200, 2800, 1900, 1900, 1900, 900};
    for (int column = 0; column < 6; ++column) {
        lvList->header()->resizeSection(column, Twips::toPixels(widths[column]));
    }
    lvList->headerItem()->setTextAlignment(5, Qt::AlignRight | Qt::AlignVCenter);
    lvList->installEventFilter(this);
    connect(lvList, &QTreeWidget::itemClicked, this, &FrmShowLog::lvList_ItemClick);
    connect(lvList, &QTreeWidget::itemDoubleClicked, this, &FrmShowLog::lvList_DblClick);

    SbStatus = new QStatusBar(this);
    SbStatus->setObjectName(u"SbStatus"_s);
    SbStatusPanel1 = new QLabel(SbStatus);
    SbStatusPanel1->setObjectName(u"SbStatusPanel1"_s);
    SbStatus->addWidget(SbStatusPanel1);

    tmrStart = new QTimer(this);
    tmrStart->setObjectName(u"tmrStart"_s);
    tmrStart->setInterval(100);
    tmrStart->setSingleShot(true);
    connect(tmrStart, &QTimer::timeout, this, &FrmShowLog::tmrStart_Timer);

    Form_Load();
}

void FrmShowLog::Form_Load()
{
    WindowPlacement::restore(this, LogRect);
    tmrStart->start();
}

void FrmShowLog::tmrStart_Timer()
{
    tmrStart->stop();
    LoadLog();
}

void FrmShowLog::LoadLog()
{
    {
        const WaitCursor wait;
        // A log that cannot be read (gone since the command looked for it) reads as an empty one.
        QFile log(AppPaths::file(u"Log.Dat"_s));
        if (log.open(QIODevice::ReadOnly)) {
            for (const QString& line : RecentDocuments::logLines(log.readAll())) {
                AddLogEntry(line);
            }
        }
    }
    if (lvList->topLevelItemCount() == 0) {
        close();
        return;
    }
    // The caption's number, whatever the number of lines.
    SbStatusPanel1->setText(u"Total Documents : 50 "_s);
}

void FrmShowLog::AddLogEntry(const QString& line)
{
    const std::optional<RecentDocuments::LogEntry> entry = RecentDocuments::logEntry(line);
    if (!entry) {
        return;
    }
    // Each line goes on top, so the newest (the last line) ends up first.
    auto* item = new QTreeWidgetItem(
        {entry->name, entry->folder, entry->accessed, entry->modified, entry->created, entry->size});
    item->setIcon(0, QIcon::fromTheme(u"x-office-document"_s, style()->standardIcon(QStyle::SP_FileIcon)));
    item->setTextAlignment(5, Qt::AlignRight | Qt::AlignVCenter);
    item->setData(0, TagRole, entry->path);
    lvList->insertTopLevelItem(0, item);
}

void FrmShowLog::lvList_ItemClick(QTreeWidgetItem* item)
{
    SbStatusPanel1->setText(u"Last Accessed Date: "_s + item->text(2) + u"     Last Modified Date: "_s + item->text(3));
}

void FrmShowLog::lvList_DblClick()
{
    const QList<QTreeWidgetItem*> selected = lvList->selectedItems();
    if (selected.isEmpty()) {
        return;
    }
    const QString path = selected.first()->data(0, TagRole).toString();
    const wordlink::WordJob job;
    if (wordlink::openForUser(path) == wordlink::UserOpen::NotThere) {
        MessageBoxes::information(openFailureText(path));
    }
}

bool FrmShowLog::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == lvList && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            lvList_DblClick();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void FrmShowLog::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    Form_Resize();
}

// The lengths are the window's outer ones, title bar and borders included: the list keeps the
// width less 100 twips and the height less the status bar and 500 twips, of which the title bar
// takes most. The status bar lies along the bottom edge.
void FrmShowLog::Form_Resize()
{
    const int statusHeight = SbStatus->sizeHint().height();
    SbStatus->setGeometry(0, height() - statusHeight, width(), statusHeight);
    const QRect outer = frameGeometry();
    const int listWidth = outer.width() - Twips::toPixels(100);
    const int listHeight = outer.height() - (statusHeight + Twips::toPixels(500));
    lvList->setGeometry(0, 0, qBound(0, listWidth, width()), qBound(0, listHeight, height() - statusHeight));
    SbStatusPanel1->setFixedWidth(qMax(0, SbStatus->width() - Twips::toPixels(1000)));
}

void FrmShowLog::closeEvent(QCloseEvent* event)
{
    Form_Unload();
    event->accept();
}

void FrmShowLog::Form_Unload()
{
    // Saved minimised or not: the desktop reports a minimised window's normal rectangle.
    WindowPlacement::save(this, LogRect);
    if (instancePointer() == this) {
        instancePointer().clear();
    }
}
