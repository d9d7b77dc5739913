#include "FrmSearch.h"

#include "EngineSearcher.h"
#include "SearchPattern.h"
#include "SearchRun.h"
#include "core/Dialogs.h"
#include "core/FileOperations.h"
#include "core/ListSeparator.h"
#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/TextUtil.h"
#include "core/Twips.h"
#include "core/WaitCursor.h"
#include "wordlink/UserOffice.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QStatusBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int KeyRole = Qt::UserRole;

QPointer<FrmSearch>& instancePointer()
{
    static QPointer<FrmSearch> window;
    return window;
}

// An entry field locked for a run gets the button-face background, and the window background
// when it is released.
void setEntryEnabled(QWidget* field, bool enabled)
{
    field->setEnabled(enabled);
    QPalette palette = QApplication::palette(field);
    if (!enabled) {
        palette.setColor(QPalette::Disabled, QPalette::Base, palette.color(QPalette::Disabled, QPalette::Button));
    }
    field->setPalette(palette);
}

} // namespace

FrmSearch* FrmSearch::instance()
{
    if (instancePointer().isNull()) {
        instancePointer() = new FrmSearch;
    }
    return instancePointer();
}

FrmSearch::FrmSearch(QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(u"FrmSearch"_s);
    setWindowTitle(u"Quillbay+ : Search Documents"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    buildControls();
    Form_Load();
}

void FrmSearch::buildControls()
{
    auto* fraSearch = new QGroupBox(this);
    fraSearch->setObjectName(u"FraSearch"_s);
    auto* grid = new QGridLayout(fraSearch);
    // The buttons stand 1200 twips inside the frame's right edge: their own width and a margin,
    // of which the frame's border is a part.
    const QMargins border = fraSearch->contentsMargins();
    grid->setContentsMargins(Twips::toPixels(120) - border.left(), Twips::toPixels(90) - border.top(),
                             Twips::toPixels(105) - border.right(), Twips::toPixels(90) - border.bottom());
    grid->setHorizontalSpacing(Twips::toPixels(80));
    grid->setVerticalSpacing(Twips::toPixels(60));
    CboCriteria = new QComboBox(fraSearch);
    CboCriteria->setObjectName(u"CboCriteria"_s);
    CboCriteria->setEditable(true);
    CboCriteria->setInsertPolicy(QComboBox::NoInsert);
    TxtFolder = new QLineEdit(fraSearch);
    TxtFolder->setObjectName(u"TxtFolder"_s);
    CmdBrowse = new QToolButton(fraSearch);
    CmdBrowse->setObjectName(u"CmdBrowse"_s);
    CmdBrowse->setText(u"Browse..."_s);
    txtwords = new QLineEdit(fraSearch);
    txtwords->setObjectName(u"txtwords"_s);
    ChkIncSubFolder = new QCheckBox(u"Include subfolders"_s, fraSearch);
    ChkIncSubFolder->setObjectName(u"ChkIncSubFolder"_s);
    const QString optionCaptions[3] = {u"Find Whole Word Onl&y"_s, u"Matc&h Case"_s, u"&Use wildcards"_s};
    auto* options = new QHBoxLayout;
    for (int i = 0; i < 3; ++i) {
        chkOptions[i] = new QCheckBox(optionCaptions[i], fraSearch);
        chkOptions[i]->setObjectName(u"chkOptions_%1"_s.arg(i));
        connect(chkOptions[i], &QCheckBox::toggled, this, [this, i] { chkOptions_Click(i); });
        options->addWidget(chkOptions[i]);
    }
    options->addStretch();
    chkReplace = new QCheckBox(u"Replace With :"_s, fraSearch);
    chkReplace->setObjectName(u"chkReplace"_s);
    txtReplace = new QLineEdit(fraSearch);
    txtReplace->setObjectName(u"txtReplace"_s);
    txtReplace->setEnabled(false);

    // The name and the folder fill the width up to 80 twips before the browse button; the browse
    // button and "Include subfolders" end 150 twips left of the button column.
    auto* fields = new QGridLayout;
    fields->setHorizontalSpacing(Twips::toPixels(80));
    fields->setVerticalSpacing(grid->verticalSpacing());
    fields->addWidget(CboCriteria, 0, 0);
    fields->addWidget(TxtFolder, 1, 0);
    fields->addWidget(CmdBrowse, 1, 1);
    fields->setColumnStretch(0, 1);
    grid->addWidget(new QLabel(u"Look for File Named : "_s, fraSearch), 0, 0);
    grid->addWidget(new QLabel(u"In Folder :"_s, fraSearch), 1, 0);
    grid->addLayout(fields, 0, 1, 2, 2);
    grid->addWidget(new QLabel(u"Search for the Word(s) :"_s, fraSearch), 2, 0);
    grid->addWidget(txtwords, 2, 1);
    grid->addWidget(ChkIncSubFolder, 2, 2, Qt::AlignRight);
    grid->addLayout(options, 3, 1, 1, 2);
    grid->addWidget(chkReplace, 4, 0);
    grid->addWidget(txtReplace, 4, 1, 1, 2);

    const QString findCaptions[4] = {u"Find &Now"_s, u"&Replace"_s, u"Sto&p"_s, u"New &Search"_s};
    auto* buttons = new QVBoxLayout;
    buttons->setSpacing(Twips::toPixels(60));
    for (int i = 0; i < 4; ++i) {
        CmdFind[i] = new QPushButton(findCaptions[i], fraSearch);
        CmdFind[i]->setObjectName(u"CmdFind_%1"_s.arg(i));
        CmdFind[i]->setFixedWidth(Twips::toPixels(1095));
        connect(CmdFind[i], &QPushButton::clicked, this, [this, i] { CmdFind_Click(i); });
        buttons->addWidget(CmdFind[i]);
    }
    buttons->addStretch();
    auto* buttonColumn = new QHBoxLayout;
    buttonColumn->addSpacing(Twips::toPixels(150 - 80));
    buttonColumn->addLayout(buttons);
    grid->addLayout(buttonColumn, 0, 3, 5, 1);
    grid->setColumnStretch(1, 1);

    lvList = new QTreeWidget(this);
    lvList->setObjectName(u"lvList"_s);
    lvList->setRootIsDecorated(false);
    lvList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lvList->setHeaderLabels({u"Name"_s, u"Path"_s, u"Date Modified"_s, u"Size"_s, u"Type"_s});
    lvList->header()->setSectionsClickable(true);
    lvList->setContextMenuPolicy(Qt::CustomContextMenu);
    txtNoItems = new QLabel(lvList->viewport());
    txtNoItems->setObjectName(u"txtNoItems"_s);
    txtNoItems->setAlignment(Qt::AlignCenter);
    txtNoItems->setVisible(false);
    lvList->viewport()->installEventFilter(this);

    auto* statusBar = new QStatusBar(this);
    statusBar->setObjectName(u"SbStatus"_s);
    statusBar->setSizeGripEnabled(true);
    SbStatusPanel1 = new QLabel(statusBar);
    SbStatusPanel1->setObjectName(u"SbStatusPanel1"_s);
    SbStatusPanel2 = new QLabel(statusBar);
    SbStatusPanel2->setObjectName(u"SbStatusPanel2"_s);
    SbStatusPanel2->setVisible(false);
    // A long path in a panel is cut at the panel's edge instead of widening the window.
    for (QLabel* panel : {SbStatusPanel1, SbStatusPanel2}) {
        panel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        panel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    }
    statusBar->addWidget(SbStatusPanel1, 1);
    statusBar->addWidget(SbStatusPanel2, 1);

    MnuOperations = new QMenu(u"Operations"_s, this);
    MnuOperations->setObjectName(u"MnuOperations"_s);
    QAction* open = MnuOperations->addAction(u"Open"_s);
    open->setObjectName(u"mnuOpenDoc"_s);
    QAction* refresh = MnuOperations->addAction(u"Referesh"_s);
    refresh->setObjectName(u"MnuReferesh"_s);
    MnuOperations->addSeparator()->setObjectName(u"MnuLine"_s);
    QAction* remove = MnuOperations->addAction(u"Delete"_s);
    remove->setObjectName(u"MnuDelete"_s);
    connect(open, &QAction::triggered, this, [this] {
        if (QTreeWidgetItem* item = lvList->currentItem()) {
            OpenFoundDocument(item->data(0, KeyRole).toString());
        }
    });
    connect(refresh, &QAction::triggered, lvList->viewport(), qOverload<>(&QWidget::update));
    connect(remove, &QAction::triggered, this, &FrmSearch::MnuDelete_Click);

    auto* layout = new QVBoxLayout(this);
    // The frame is 200 twips narrower than the window.
    layout->setContentsMargins(Twips::toPixels(100), Twips::toPixels(60), Twips::toPixels(100), 0);
    layout->setSpacing(Twips::toPixels(60));
    layout->addWidget(fraSearch);
    layout->addWidget(lvList, 1);
    layout->addWidget(statusBar);

    connect(chkReplace, &QCheckBox::toggled, this, [this] {
        txtReplace->setEnabled(chkReplace->isChecked());
        UpdateFindButtons();
    });
    connect(txtwords, &QLineEdit::textChanged, this, &FrmSearch::UpdateFindButtons);
    connect(CmdBrowse, &QToolButton::clicked, this, &FrmSearch::CmdBrowse_Click);
    connect(lvList->header(), &QHeaderView::sectionClicked, this, &FrmSearch::lvList_ColumnClick);
    connect(lvList, &QTreeWidget::itemClicked, this,
            [](QTreeWidgetItem* item) { item->setToolTip(0, u"Date Modified :"_s + item->text(2)); });
    connect(lvList, &QTreeWidget::itemDoubleClicked, this,
            [this](QTreeWidgetItem* item) { OpenFoundDocument(item->data(0, KeyRole).toString()); });
    connect(lvList, &QTreeWidget::customContextMenuRequested, this, &FrmSearch::lvList_MouseUp);
    for (QWidget* field : std::initializer_list<QWidget*>{CboCriteria, TxtFolder, txtwords}) {
        field->installEventFilter(this);
    }
    CmdFind[2]->setEnabled(false);
    setMinimumSize(Twips::toPixels(9000), Twips::toPixels(3220));
    resize(Twips::toPixels(9600), Twips::toPixels(6225));
    UpdateFindButtons();
}

void FrmSearch::Form_Load()
{
    const QStringList entries = SettingsStore::instance().value(Keys::SearchCriteria).split(ListSeparatorChar);
    for (const QString& entry : entries) {
        if (!entry.isEmpty()) {
            CboCriteria->addItem(entry);
        }
    }
    CboCriteria->setCurrentIndex(-1);
    TxtFolder->setText(SettingsStore::instance().value(Keys::SearchFolderName));
}

void FrmSearch::closeEvent(QCloseEvent* event)
{
    if (m_running) {
        // A run in hand is stopped first; the window closes when it has ended.
        m_stopFlag = true;
        m_closeWhenDone = true;
        event->ignore();
        return;
    }
    Form_Unload();
    event->accept();
}

void FrmSearch::Form_Unload()
{
    const QStringList history = criteriaHistory();
    if (!history.isEmpty()) {
        QString packed;
        for (const QString& entry : history) {
            packed += entry + ListSeparatorChar;
        }
        SettingsStore::instance().setValue(Keys::SearchCriteria, packed);
    }
    if (!TxtFolder->text().isEmpty()) {
        SettingsStore::instance().setValue(Keys::SearchFolderName, TxtFolder->text());
    }
    if (instancePointer() == this) {
        instancePointer().clear();
    }
}

QStringList FrmSearch::criteriaHistory() const
{
    QStringList entries;
    for (int i = 0; i < CboCriteria->count(); ++i) {
        entries << CboCriteria->itemText(i);
    }
    return entries;
}

bool FrmSearch::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == lvList->viewport() && event->type() == QEvent::Resize) {
        Form_Resize();
    }
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) && !m_running &&
            !TxtFolder->text().isEmpty()) {
            RunSearch();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// The frame, the list and the status bar follow the window through its layout; run when the
// list's visible area changes size: "no items" text covers it, and the columns share its width
// (name, folder, date and size, and the type the rest).
void FrmSearch::Form_Resize()
{
    txtNoItems->setGeometry(lvList->viewport()->rect());
    const int width = lvList->viewport()->width();
    const double shares[4] = {0.26, 0.26, 0.25, 0.08};
    for (int column = 0; column < 4; ++column) {
        lvList->header()->resizeSection(column, static_cast<int>(width * shares[column]));
    }
}

void FrmSearch::UpdateFindButtons()
{
    if (chkReplace->isChecked()) {
        CmdFind[0]->setEnabled(false);
        CmdFind[1]->setEnabled(!txtwords->text().isEmpty());
    } else {
        CmdFind[0]->setEnabled(true);
        CmdFind[1]->setEnabled(false);
    }
}

void FrmSearch::chkOptions_Click(int index)
{
    Q_UNUSED(index)
    const bool wildcards = chkOptions[2]->isChecked();
    for (int i = 0; i < 2; ++i) {
        if (wildcards) {
            chkOptions[i]->setChecked(false);
        }
        chkOptions[i]->setEnabled(!wildcards);
    }
}

void FrmSearch::LockSearchControls()
{
    for (QWidget* field : std::initializer_list<QWidget*>{CboCriteria, TxtFolder, txtwords, txtReplace}) {
        setEntryEnabled(field, false);
    }
    for (QWidget* control :
         std::initializer_list<QWidget*>{CmdBrowse, ChkIncSubFolder, chkOptions[0], chkOptions[1], chkOptions[2],
                                         chkReplace, CmdFind[0], CmdFind[1], CmdFind[3]}) {
        control->setEnabled(false);
    }
    CmdFind[2]->setEnabled(true);
}

void FrmSearch::UnlockSearchControls()
{
    for (QWidget* field : std::initializer_list<QWidget*>{CboCriteria, TxtFolder, txtwords, txtReplace}) {
        setEntryEnabled(field, true);
    }
    for (QWidget* control : std::initializer_list<QWidget*>{CmdBrowse, ChkIncSubFolder, chkReplace, chkOptions[2]}) {
        control->setEnabled(true);
    }
    chkOptions[0]->setEnabled(!chkOptions[2]->isChecked());
    chkOptions[1]->setEnabled(!chkOptions[2]->isChecked());
    txtReplace->setEnabled(chkReplace->isChecked());
    UpdateFindButtons();
    CmdFind[2]->setEnabled(false);
    CmdFind[3]->setEnabled(true);
    if (lvList->topLevelItemCount() == 0) {
        CboCriteria->setFocus();
    }
}

void FrmSearch::RememberCriteria()
{
    if (SearchPattern::shouldRemember(criteriaHistory(), CboCriteria->currentText())) {
        CboCriteria->addItem(CboCriteria->currentText());
    }
}

void FrmSearch::CmdFind_Click(int index)
{
    switch (index) {
    case 0:
    case 1:
        if (!TxtFolder->text().isEmpty()) {
            RunSearch();
            m_stopFlag = false;
        }
        break;
    case 2:
        m_stopFlag = true;
        break;
    case 3:
        lvList->clear();
        TxtFolder->clear();
        SbStatusPanel1->clear();
        break;
    default:
        break;
    }
}

void FrmSearch::CmdBrowse_Click()
{
    const QString folder = Dialogs::BrowseForFolder(u"Select a Folder :"_s, 16, this);
    if (!folder.isEmpty()) {
        TxtFolder->setText(folder);
    }
}

void FrmSearch::RunSearch()
{
    m_running = true;
    LockSearchControls();
    lvList->clear();
    SbStatusPanel2->clear();
    SbStatusPanel2->setVisible(false);
    txtNoItems->setText(u"Searching..."_s);
    txtNoItems->setVisible(true);
    m_stopFlag = false;
    if (!isMaximized() && !isMinimized() && Twips::fromPixels(height()) <= 5000) {
        resize(width(), Twips::toPixels(6225));
    }

    QString pattern;
    if (CboCriteria->currentText().isEmpty()) {
        CboCriteria->setEditText(u"*.Doc"_s);
        pattern = u"*.Doc"_s;
    } else {
        const SearchPattern::Normalized normalized =
            SearchPattern::NormalizeCriteria(TextUtil::trimSpaces(CboCriteria->currentText()));
        pattern = normalized.pattern;
        if (normalized.remember) {
            RememberCriteria();
        }
    }

    const QString words = TextUtil::trimSpaces(txtwords->text());
    std::unique_ptr<DocumentSearcher> searcher;
    QStringList failures;
    if (!pattern.isEmpty()) {
        std::optional<WordSearch> search;
        if (!txtwords->text().isEmpty()) {
            SettingsStore::instance().setValue(Keys::WordRunning, u"Y"_s);
            searcher = std::make_unique<EngineSearcher>();
            search = WordSearch{words,
                                chkOptions[0]->isChecked(),
                                chkOptions[1]->isChecked(),
                                chkOptions[2]->isChecked(),
                                chkReplace->isChecked(),
                                txtReplace->text()};
        }
        SearchRun run({[this](const QString& status) { SbStatusPanel1->setText(status); },
                       [this](const ResultRow& row) { addRow(row); }, [] { QCoreApplication::processEvents(); },
                       [this] { return m_stopFlag; },
                       [&failures](const QString& path, const QString& reason) {
                           failures << QDir::toNativeSeparators(path) + u": "_s + reason;
                       }},
                      searcher.get());
        run.WalkFolder(TxtFolder->text(), pattern, ChkIncSubFolder->isChecked(), search);
        if (!run.backupFolder().isEmpty()) {
            SbStatusPanel2->setText(u"Originals kept in "_s + run.backupFolder());
            SbStatusPanel2->setToolTip(run.backupFolder());
            SbStatusPanel2->setVisible(true);
        }
    }
    if (lvList->topLevelItemCount() > 0) {
        SbStatusPanel1->setText(QString::number(lvList->topLevelItemCount()) + u" items"_s);
    } else {
        txtNoItems->setText(u"There are no items to show in this view"_s);
        SbStatusPanel1->setText(u"0 Items"_s);
    }
    if (searcher) {
        searcher->finish();
        searcher.reset();
        SettingsStore::instance().setValue(Keys::WordRunning, u"N"_s);
    }
    UnlockSearchControls();
    m_running = false;
    if (!failures.isEmpty()) {
        // The documents the run could not search or change, each with its reason.
        constexpr qsizetype Shown = 12;
        QString text = u"%1 document(s) could not be searched or changed:\n\n"_s.arg(failures.size()) +
                       failures.mid(0, Shown).join(u'\n');
        if (failures.size() > Shown) {
            text += u"\n…"_s;
        }
        MessageBoxes::show(Message{text, u"Quillbay+"_s, MessageButtons::Ok, MessageIcon::Critical});
    }
    if (m_closeWhenDone) {
        close();
    }
}

void FrmSearch::addRow(const ResultRow& row)
{
    auto* item = new QTreeWidgetItem(lvList, {row.name, row.folder, row.modified, row.size, row.type});
    item->setData(0, KeyRole, row.path);
    item->setTextAlignment(3, Qt::AlignRight | Qt::AlignVCenter);
    if (txtNoItems->isVisible()) {
        txtNoItems->setVisible(false);
    }
}

// The list stays sorted from the first click on, also for the rows of later runs. Every click
// turns the order round, whichever column it is on, and the arrow moves to that column.
void FrmSearch::lvList_ColumnClick(int column)
{
    m_sortDescending = !m_sortDescending;
    lvList->setSortingEnabled(true);
    lvList->sortByColumn(column, m_sortDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void FrmSearch::lvList_MouseUp(const QPoint& position)
{
    if (lvList->topLevelItemCount() == 0) {
        return;
    }
    MnuOperations->findChild<QAction*>(u"mnuOpenDoc"_s)->setEnabled(!lvList->selectedItems().isEmpty());
    MnuOperations->popup(lvList->viewport()->mapToGlobal(position));
}

void FrmSearch::OpenFoundDocument(const QString& path)
{
    // The document opens in the office suite's visible writer, which stays open for the user.
    const WaitCursor wait;
    wordlink::openForUser(path);
}

void FrmSearch::MnuDelete_Click()
{
    if (lvList->selectedItems().isEmpty()) {
        return;
    }
    if (!MessageBoxes::askYesNo(u"Are you sure to delete selected file(s) ?"_s, MessageIcon::Critical)) {
        return;
    }
    QStringList failures;
    for (int i = lvList->topLevelItemCount() - 1; i >= 0; --i) {
        QTreeWidgetItem* item = lvList->topLevelItem(i);
        if (!item->isSelected()) {
            continue;
        }
        // The files go to the Trash, where the user can get them back.
        if (const Status trashed = FileOperations::moveToTrash(item->data(0, KeyRole).toString()); trashed.ok()) {
            delete item;
        } else {
            failures << trashed.error().message;
        }
    }
    lvList->viewport()->update();
    if (!failures.isEmpty()) {
        MessageBoxes::information(failures.join(u'\n'));
    }
}
