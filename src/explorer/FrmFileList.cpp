#include "FrmFileList.h"

#include "RecentDocuments.h"
#include "WindowPlacement.h"
#include "core/AppPaths.h"
#include "core/CommonRoutines.h"
#include "core/Dialogs.h"
#include "core/FrmSplash.h"
#include "core/FrmWelcome.h"
#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/TextUtil.h"
#include "core/Twips.h"
#include "core/WaitCursor.h"
#include "wordlink/UserOffice.h"
#include "wordlink/WordDocumentNames.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDateTime>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QStorageInfo>
#include <QStyle>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int KeyRole = Qt::UserRole;
constexpr int TagRole = Qt::UserRole + 1;
const QString MyComputer = u"My Computer"_s;

QIcon themeIcon(const QString& name, QStyle::StandardPixmap fallback)
{
    return QIcon::fromTheme(name, QApplication::style()->standardIcon(fallback));
}

QString keyOf(const QTreeWidgetItem* node)
{
    return node->data(0, KeyRole).toString();
}

QString tagOf(const QTreeWidgetItem* node)
{
    return node->data(0, TagRole).toString();
}

QTreeWidgetItem* addNode(QTreeWidgetItem* parent, const QString& key, const QString& text, const QString& tag,
                         const QIcon& icon)
{
    auto* node = new QTreeWidgetItem(parent, {text});
    node->setData(0, KeyRole, key);
    node->setData(0, TagRole, tag);
    node->setIcon(0, icon);
    return node;
}

// The child with no text that gives a folder its expander before its contents are known.
void addPlaceholder(QTreeWidgetItem* parent)
{
    new QTreeWidgetItem(parent, {QString()});
}

bool hasSubfolders(const QString& path)
{
    return !QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty();
}

const StoredRect MainRect{Keys::MainLeft, Keys::MainTop, Keys::MainWidth, Keys::MainHeight};

} // namespace

FrmFileList::FrmFileList(QWidget* parent)
    : QMainWindow(parent)
{
    setObjectName(u"frmFileList"_s);
    setWindowTitle(u"Quillbay+"_s);
    setWindowIcon(themeIcon(u"x-office-document"_s, QStyle::SP_FileIcon));
    buildMenus();

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(buildToolbar());
    layout->addWidget(buildAddressBar());
    layout->addWidget(buildPanes(), 1);
    setCentralWidget(central);

    statusBar()->setObjectName(u"sbStatusBar"_s);
}

void FrmFileList::buildMenus()
{
    m_mnuFile = menuBar()->addMenu(u"&File"_s);
    m_mnuFile->setObjectName(u"MnuFile"_s);
    QAction* mnuWdNew = m_mnuFile->addAction(u"&New Document"_s);
    mnuWdNew->setObjectName(u"MnuWdNew"_s);
    connect(mnuWdNew, &QAction::triggered, this, &FrmFileList::NewWordDocument);
    QAction* mnuWdOpen = m_mnuFile->addAction(u"&Open Document"_s);
    mnuWdOpen->setObjectName(u"MnuWdOpen"_s);
    connect(mnuWdOpen, &QAction::triggered, this, &FrmFileList::ChooseWordDocument);
    m_mnuFile->addSeparator()->setObjectName(u"MnuLin1"_s);
    QAction* first = m_mnuFile->addAction(u"(No recent documents)"_s);
    first->setObjectName(u"MnuRecentDoc_0"_s);
    first->setEnabled(false);
    m_mnuRecentDoc << first;
    m_mnuLin2 = m_mnuFile->addSeparator();
    m_mnuLin2->setObjectName(u"MnuLin2"_s);
    m_mnuLin2->setVisible(false);
    QAction* mnuExit = m_mnuFile->addAction(u"E&xit"_s);
    mnuExit->setObjectName(u"MnuExit"_s);
    connect(mnuExit, &QAction::triggered, this, &QWidget::close);

    QMenu* tools = menuBar()->addMenu(u"&Quillbay++ Tools"_s);
    tools->setObjectName(u"MnuTools"_s);
    QAction* mnuMlList = tools->addAction(u"&Mailing List"_s);
    mnuMlList->setObjectName(u"MnuMlList"_s);
    connect(mnuMlList, &QAction::triggered, this, &FrmFileList::mailingListRequested);
    QAction* mnuSearch = tools->addAction(u"&Search"_s);
    mnuSearch->setObjectName(u"MnuSearch"_s);
    connect(mnuSearch, &QAction::triggered, this, &FrmFileList::searchRequested);
    QAction* mnuLgDtls = tools->addAction(u"&Logs"_s);
    mnuLgDtls->setObjectName(u"MnuLgDtls"_s);
    connect(mnuLgDtls, &QAction::triggered, this, &FrmFileList::lblViewLog_Click);

    QMenu* options = menuBar()->addMenu(u"&Options"_s);
    options->setObjectName(u"MnuOptions"_s);
    QAction* mnuSmtp = options->addAction(u"Se&ttings"_s);
    mnuSmtp->setObjectName(u"MnuSMTPSettings"_s);
    connect(mnuSmtp, &QAction::triggered, this, &FrmFileList::settingsRequested);
    QMenu* layout = options->addMenu(u"La&yout"_s);
    layout->setObjectName(u"MnuLayOut"_s);
    layout->addAction(u"&Default Layout"_s)->setObjectName(u"MnuDefLayOut"_s);
    layout->addAction(u"&Big Preview Pane"_s)->setObjectName(u"MnuBPPLayOut"_s);
    layout->addSeparator()->setObjectName(u"MnuLin3"_s);
    layout->addAction(u"Reset Layout Settings"_s)->setObjectName(u"MnuRstLayout"_s);

    QMenu* help = menuBar()->addMenu(u"&Help"_s);
    help->setObjectName(u"mnuHelp"_s);
    QAction* mnuWHelp = help->addAction(u"Help"_s);
    mnuWHelp->setObjectName(u"MnuWHelp"_s);
    connect(mnuWHelp, &QAction::triggered, this, &FrmFileList::MnuWHelp_Click);
    QAction* features = help->addAction(u"Features"_s);
    features->setObjectName(u"mnuFeatures"_s);
    connect(features, &QAction::triggered, this, &FrmFileList::mnuFeatures_Click);
    help->addSeparator()->setObjectName(u"mnuHelpSep1"_s);
    QAction* about = help->addAction(u"&About Quillbay+"_s);
    about->setObjectName(u"MnuAbtW"_s);
    connect(about, &QAction::triggered, this, &FrmFileList::MnuAbtW_Click);
}

QWidget* FrmFileList::buildToolbar()
{
    m_imgtop = new QWidget(this);
    m_imgtop->setObjectName(u"Imgtop"_s);
    auto* row = new QHBoxLayout(m_imgtop);
    row->setContentsMargins(4, 2, 8, 2);
    row->setSpacing(2);

    struct Button
    {
        QString name;
        QString caption;
        QString icon;
        QStyle::StandardPixmap fallback;
        QString status;
    };
    const QList<Button> buttons = {
        {u"lblNew"_s, u"New"_s, u"document-new"_s, QStyle::SP_FileIcon, u"Click to open a new word document"_s},
        {u"lblOpen"_s, u"Open"_s, u"document-open"_s, QStyle::SP_DialogOpenButton, u"Click to open a word document"_s},
        {u"lblBack"_s, u"Back"_s, u"go-previous"_s, QStyle::SP_ArrowBack, {}},
        {u"lblForward"_s, u"Forward"_s, u"go-next"_s, QStyle::SP_ArrowForward, {}},
        {u"lblUp"_s, u"Up"_s, u"go-up"_s, QStyle::SP_FileDialogToParent, {}},
        {u"lblMailingList"_s, u"Mailing List"_s, u"mail-message-new"_s, QStyle::SP_DialogYesButton,
         u"Click to Prefer a Mailing List"_s},
        {u"lblsearch"_s, u"Search"_s, u"edit-find"_s, QStyle::SP_FileDialogContentsView,
         u"Click to Search Documents"_s},
        {u"lblViewLog"_s, u"View Log"_s, u"document-open-recent"_s, QStyle::SP_FileDialogDetailedView,
         u"Click to View Log file for Documents"_s},
        {u"lblSettings"_s, u"Settings"_s, u"preferences-system"_s, QStyle::SP_ComputerIcon,
         u"Click to Custom Settings"_s},
    };
    for (const Button& spec : buttons) {
        auto* button = new QToolButton(m_imgtop);
        button->setObjectName(spec.name);
        button->setText(spec.caption);
        button->setIcon(themeIcon(spec.icon, spec.fallback));
        button->setIconSize(QSize(24, 24));
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        button->setAutoRaise(true);
        button->setStatusTip(spec.status);
        row->addWidget(button);
    }
    row->addStretch();
    auto* picName = new QLabel(u"<b><span style='font-size:15pt'>Quillbay+</span></b>"_s, m_imgtop);
    picName->setObjectName(u"PicName"_s);
    row->addWidget(picName);

    // Back starts greyed: the picture over the button stands for its disabled state.
    auto* back = m_imgtop->findChild<QToolButton*>(u"lblBack"_s);
    m_backDisabled = new QLabel(m_imgtop);
    m_backDisabled->setObjectName(u"BackDisabled"_s);
    m_backDisabled->setVisible(false);
    connect(m_imgtop->findChild<QToolButton*>(u"lblMailingList"_s), &QToolButton::clicked, this,
            &FrmFileList::mailingListRequested);
    connect(m_imgtop->findChild<QToolButton*>(u"lblsearch"_s), &QToolButton::clicked, this,
            &FrmFileList::searchRequested);
    connect(m_imgtop->findChild<QToolButton*>(u"lblSettings"_s), &QToolButton::clicked, this,
            &FrmFileList::settingsRequested);
    connect(m_imgtop->findChild<QToolButton*>(u"lblViewLog"_s), &QToolButton::clicked, this,
            &FrmFileList::lblViewLog_Click);
    connect(m_imgtop->findChild<QToolButton*>(u"lblNew"_s), &QToolButton::clicked, this, &FrmFileList::NewWordDocument);
    connect(m_imgtop->findChild<QToolButton*>(u"lblOpen"_s), &QToolButton::clicked, this,
            &FrmFileList::ChooseWordDocument);
    back->setEnabled(false);
    m_imgtop->findChild<QToolButton*>(u"lblForward"_s)->setEnabled(false);
    return m_imgtop;
}

QWidget* FrmFileList::buildAddressBar()
{
    auto* bar = new QWidget(this);
    bar->setObjectName(u"FraAddress"_s);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(6, 2, 6, 4);
    auto* label = new QLabel(u"Address"_s, bar);
    label->setObjectName(u"lblAddHeader"_s);
    auto* icon = new QLabel(bar);
    icon->setObjectName(u"ImgAddress"_s);
    icon->setPixmap(style()->standardIcon(QStyle::SP_ComputerIcon).pixmap(16, 16));
    m_txtAddress = new QLineEdit(bar);
    m_txtAddress->setObjectName(u"txtAddress"_s);
    connect(m_txtAddress, &QLineEdit::returnPressed, this, [this] { txtAddress_KeyPress(13); });
    auto* go = new QToolButton(bar);
    go->setObjectName(u"lblGo"_s);
    go->setText(u"Go"_s);
    go->setIcon(themeIcon(u"go-jump"_s, QStyle::SP_ArrowRight));
    go->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    go->setAutoRaise(true);
    connect(go, &QToolButton::clicked, this, [this] { txtAddress_KeyPress(13); });
    row->addWidget(label);
    row->addWidget(icon);
    row->addWidget(m_txtAddress, 1);
    row->addWidget(go);
    return bar;
}

QWidget* FrmFileList::buildPanes()
{
    m_imgSplitter = new QSplitter(Qt::Horizontal, this);
    m_imgSplitter->setObjectName(u"imgSplitter"_s);
    m_imgSplitter->setChildrenCollapsible(false);

    auto* left = new QWidget(m_imgSplitter);
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->setSpacing(0);
    auto* lblFolder = new QLabel(u"  Folders"_s, left);
    lblFolder->setObjectName(u"LblFolder"_s);
    lblFolder->setStyleSheet(u"background: palette(mid); color: palette(bright-text); padding: 3px;"_s);
    m_tvList = new QTreeWidget(left);
    m_tvList->setObjectName(u"tvList"_s);
    m_tvList->setHeaderHidden(true);
    connect(m_tvList, &QTreeWidget::itemExpanded, this, &FrmFileList::tvList_Expand);
    connect(m_tvList, &QTreeWidget::itemClicked, this, [this] { tvList_NodeClick(); });
    leftLayout->addWidget(lblFolder);
    leftLayout->addWidget(m_tvList, 1);

    m_imgSpltList = new QSplitter(Qt::Vertical, m_imgSplitter);
    m_imgSpltList->setObjectName(u"imgSpltList"_s);
    m_imgSpltList->setChildrenCollapsible(false);

    auto* listPane = new QWidget(m_imgSpltList);
    auto* listLayout = new QVBoxLayout(listPane);
    listLayout->setContentsMargins(0, 0, 0, 0);
    m_lvList = new QTreeWidget(listPane);
    m_lvList->setObjectName(u"lvList"_s);
    m_lvList->setRootIsDecorated(false);
    m_lvList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_lvList->setHeaderLabels({u"Name"_s, u"Date Modified"_s, u"Size"_s});
    m_lvList->header()->resizeSection(0, Twips::toPixels(5644));
    m_lvList->header()->resizeSection(1, Twips::toPixels(3933));
    m_lvList->headerItem()->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    m_fraNoItems = new QLabel(u"There are no items to show in this view"_s, listPane);
    m_fraNoItems->setObjectName(u"lblNItems"_s);
    m_fraNoItems->setAlignment(Qt::AlignHCenter);
    m_fraNoItems->setVisible(false);
    listLayout->addWidget(m_lvList, 1);
    listLayout->addWidget(m_fraNoItems);

    auto* previewPane = new QWidget(m_imgSpltList);
    auto* previewLayout = new QVBoxLayout(previewPane);
    previewLayout->setContentsMargins(0, 4, 0, 0);
    auto* header = new QWidget(previewPane);
    header->setObjectName(u"fraHeader"_s);
    auto* headerLayout = new QGridLayout(header);
    headerLayout->setContentsMargins(6, 2, 6, 2);
    m_lblNoItems = new QLabel(u" Currently No item is selected."_s, header);
    m_lblNoItems->setObjectName(u"lblNoItems"_s);
    m_lblFileName = new QLabel(header);
    m_lblFileName->setObjectName(u"lblFileName"_s);
    m_lblCreated = new QLabel(header);
    m_lblCreated->setObjectName(u"lblCreated"_s);
    headerLayout->addWidget(m_lblNoItems, 0, 0, 1, 2);
    headerLayout->addWidget(new QLabel(u"File Name :"_s, header), 1, 0);
    headerLayout->addWidget(m_lblFileName, 1, 1);
    headerLayout->addWidget(new QLabel(u"Modified   :"_s, header), 2, 0);
    headerLayout->addWidget(m_lblCreated, 2, 1);
    headerLayout->setColumnStretch(1, 1);
    m_picOle = new QWidget(previewPane);
    m_picOle->setObjectName(u"picOle"_s);
    m_picOle->setAutoFillBackground(true);
    m_picOle->setBackgroundRole(QPalette::Base);
    previewLayout->addWidget(header);
    previewLayout->addWidget(m_picOle, 1);

    m_imgSplitter->setStretchFactor(1, 1);
    m_imgSpltList->setStretchFactor(1, 1);
    return m_imgSplitter;
}

void FrmFileList::Form_Load(const std::function<void(const QString&)>& progress)
{
    const WaitCursor wait;
    m_loading = true;

    WindowPlacement::restore(this, MainRect);

    // Read at start and never written: only a hand-edited store changes it.
    const double listHeight = WindowPlacement::storedLength(Keys::ListHeight).value_or(3500);
    m_imgSpltList->setSizes({Twips::toPixels(listHeight), Twips::toPixels(2000)});

    double splitter = WindowPlacement::storedLength(Keys::SplitterLeft).value_or(0);
    double listSplitter = WindowPlacement::storedLength(Keys::ListSplitterTop).value_or(0);
    m_txtAddress->setText(SettingsStore::instance().value(Keys::AddressBarFile));
    // A stored 0 counts as absent.
    if (splitter == 0) {
        splitter = 3660;
        m_positionsLoaded = true;
    }
    if (listSplitter == 0) {
        listSplitter = 3000;
        m_positionsLoaded = true;
    }
    m_imgSplitter->setProperty("twipsLeft", splitter);
    m_imgSpltList->setProperty("twipsTop", listSplitter);

    m_loading = false;
    m_imgtopTag = u"Load"_s;

    progress(u"Initializing Drives..."_s);
    LoadDrives();

    m_lblFileName->clear();
    m_lblCreated->clear();
    // The first geometry; the first resize of the shown window refines it.
    SizeControls(splitter, listSplitter);

    progress(u"Loading Documents..."_s);
    LoadRecentDocs();

    m_backDisabled->setVisible(true);
    statusBar()->showMessage(u"Done"_s);

    if (m_txtAddress->text().isEmpty()) {
        m_txtAddress->setText(MyComputer);
    }
    txtAddress_KeyPress(13);

    m_imgtopTag.clear();
    m_positionsLoaded = true;

    m_helpFile = AppPaths::helpFile();

    progress(u"Completed..."_s);
}

void FrmFileList::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    Form_Resize();
}

void FrmFileList::Form_Resize()
{
    if (m_loading) {
        return;
    }
    if (Twips::fromPixels(width()) < 3000) {
        resize(Twips::toPixels(3000), height());
    }
    SizeControls(splitterLeft(), listSplitterTop());
}

double FrmFileList::splitterLeft() const
{
    const QList<int> sizes = m_imgSplitter->sizes();
    const double stored = m_imgSplitter->property("twipsLeft").toDouble();
    return sizes.value(0) > 0 && isVisible() ? Twips::fromPixels(sizes.value(0)) : stored;
}

double FrmFileList::listSplitterTop() const
{
    const QList<int> sizes = m_imgSpltList->sizes();
    if (sizes.value(0) <= 0 || !isVisible()) {
        return m_imgSpltList->property("twipsTop").toDouble();
    }
    return Twips::fromPixels(panesTop() + sizes.value(0));
}

int FrmFileList::panesTop() const
{
    // Before the window is first shown its layouts have not placed anything yet: place them
    // now, or the panes would seem to start at the top and the list splitter would move down
    // by the height of the toolbar at every start.
    if (!isVisible()) {
        layout()->activate();
        centralWidget()->layout()->activate();
    }
    return m_imgSpltList->mapTo(centralWidget(), QPoint(0, 0)).y();
}

void FrmFileList::SizeControls(double x, double y)
{
    if (isMinimized()) {
        return;
    }
    const double formWidth = Twips::fromPixels(width());
    if (x > formWidth - 2000) {
        x = formWidth - 2000;
    }
    const int listTop = panesTop();
    if (y < 2000) {
        y = Twips::fromPixels(m_imgtop->height()) + 900;
    }
    const int treeWidth = qMax(Twips::toPixels(x), 1);
    m_imgSplitter->setSizes({treeWidth, qMax(width() - treeWidth, 1)});
    const int listHeight = qMax(Twips::toPixels(y) - listTop, 40);
    m_imgSpltList->setSizes({listHeight, qMax(m_imgSpltList->height() - listHeight, 40)});
    m_imgSplitter->setProperty("twipsLeft", x);
    m_imgSpltList->setProperty("twipsTop", y);
    m_positionsLoaded = false;
}

void FrmFileList::closeEvent(QCloseEvent* event)
{
    Form_Unload();
    event->accept();
    // The program ends outright with its main window, whatever else is open.
    QCoreApplication::exit(0);
}

void FrmFileList::Form_Unload()
{
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::DocName, QString());
    if (!isMinimized()) {
        WindowPlacement::save(this, MainRect);
    }
    store.setValue(Keys::ViewMode, u"3"_s); // the list shows the report view
    store.setValue(Keys::SplitterLeft, QString::number(splitterLeft()));
    store.setValue(Keys::ListSplitterTop, QString::number(listSplitterTop()));
    // With no node selected there is no key to save, and the address of the last exit stays.
    if (const QTreeWidgetItem* selected = m_tvList->currentItem()) {
        store.setValue(Keys::AddressBarFile, keyOf(selected));
    }
    store.setValue(Keys::WordRunning, u"N"_s);
}

void FrmFileList::LoadDrives()
{
    m_tvList->clear();
    auto* root = new QTreeWidgetItem(m_tvList, {MyComputer});
    root->setData(0, KeyRole, MyComputer);
    root->setIcon(0, themeIcon(u"computer"_s, QStyle::SP_ComputerIcon));

    const QString desktop = GetSpecialFolder(10);
    if (!desktop.isEmpty()) {
        addPlaceholder(addNode(root, desktop + u'/', u"Desktop"_s, u"Folder"_s,
                               themeIcon(u"user-desktop"_s, QStyle::SP_DesktopIcon)));
    }
    const QString documents = GetSpecialFolder(3);
    if (!documents.isEmpty()) {
        addPlaceholder(addNode(root, documents + u'/', u"My Documents"_s, u"Folder"_s,
                               themeIcon(u"folder-documents"_s, QStyle::SP_DirHomeIcon)));
    }
    // The mounted volumes stand for the drives, the root file system first.
    QList<QStorageInfo> volumes = QStorageInfo::mountedVolumes();
    std::stable_sort(volumes.begin(), volumes.end(),
                     [](const QStorageInfo& a, const QStorageInfo& b) { return a.isRoot() && !b.isRoot(); });
    for (const QStorageInfo& volume : volumes) {
        if (!volume.isValid() || !volume.isReady() || volume.rootPath().startsWith(u"/proc"_s) ||
            volume.rootPath().startsWith(u"/sys"_s) || volume.rootPath().startsWith(u"/dev"_s) ||
            volume.rootPath().startsWith(u"/run"_s)) {
            continue;
        }
        const QString rootPath = volume.rootPath();
        const QString key = rootPath.endsWith(u'/') ? rootPath : rootPath + u'/';
        const QString text =
            volume.isRoot() ? u"File System (/)"_s : (volume.displayName().isEmpty() ? rootPath : volume.displayName());
        addPlaceholder(addNode(root, key, text, u"Drive"_s, themeIcon(u"drive-harddisk"_s, QStyle::SP_DriveHDIcon)));
    }
    root->setExpanded(true);
}

void FrmFileList::tvList_Expand(QTreeWidgetItem* node)
{
    if (node->childCount() == 0 || !node->child(0)->text(0).isEmpty()) {
        return;
    }
    delete node->takeChild(0);
    const QString key = keyOf(node);
    const bool keepSlash = key.endsWith(u'/') && tagOf(node) != u"Drive"_s;
    QDir folder(key);
    const QFileInfoList entries =
        folder.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& entry : entries) {
        const QString path = entry.absoluteFilePath();
        QTreeWidgetItem* child = addNode(node, keepSlash ? path + u'/' : path, entry.fileName(), u"Folder"_s,
                                         themeIcon(u"folder"_s, QStyle::SP_DirIcon));
        if (hasSubfolders(path)) {
            addPlaceholder(child);
        }
    }
}

void FrmFileList::tvList_NodeClick()
{
    QTreeWidgetItem* selected = m_tvList->currentItem();
    if (selected == nullptr) {
        return;
    }
    const QString text = selected->text(0);
    m_txtAddress->setText(text == u"Desktop"_s || text == u"My Documents"_s ? text : keyOf(selected));
    const QString tag = tagOf(selected);
    if (tag == u"Folder"_s || tag == u"Drive"_s) {
        fillDocumentList(keyOf(selected));
        selected->setExpanded(true);
    }
}

void FrmFileList::fillDocumentList(const QString& folder)
{
    m_lvList->clear();
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& file : files) {
        if (!wordlink::isListedWordDocument(file.fileName()) || file.fileName().startsWith(u'~')) {
            continue;
        }
        auto* item = new QTreeWidgetItem(m_lvList);
        item->setData(0, KeyRole, file.absoluteFilePath());
        item->setText(0, file.completeBaseName());
        item->setIcon(0, themeIcon(u"x-office-document"_s, QStyle::SP_FileIcon));
        item->setText(1, QLocale(QLocale::English).toString(file.lastModified(), u"dd/MM/yyyy hh:mm:ss AP"_s));
        item->setText(2, QString::number(std::nearbyint(static_cast<double>(file.size()) / 1024.0)) + u" KB"_s);
        item->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    }
    m_fraNoItems->setVisible(m_lvList->topLevelItemCount() == 0);
}

void FrmFileList::selectNodeByKey(const QString& key)
{
    QTreeWidgetItemIterator it(m_tvList);
    while (*it != nullptr) {
        if (keyOf(*it) == key) {
            m_tvList->setCurrentItem(*it);
            return;
        }
        ++it;
    }
}

void FrmFileList::txtAddress_KeyPress(int keyAscii)
{
    if (keyAscii != 13) {
        return;
    }
    QString t = TextUtil::trimSpaces(m_txtAddress->text());
    if (t.compare(MyComputer, Qt::CaseInsensitive) == 0) {
        m_tvList->setCurrentItem(m_tvList->topLevelItem(0));
        m_tvList->topLevelItem(0)->setExpanded(true);
        m_txtAddress->setText(MyComputer);
        return;
    }
    QTreeWidgetItem* root = m_tvList->topLevelItem(0);
    for (int i = 0; i < root->childCount(); ++i) {
        if (root->child(i)->text(0).compare(t, Qt::CaseInsensitive) == 0) {
            m_tvList->setCurrentItem(root->child(i));
            tvList_NodeClick();
            return;
        }
    }
    // A path: open the nodes of its drive down to the folder, then fill the list.
    const QFileInfo folder(t);
    if (t.isEmpty() || !folder.isDir()) {
        return;
    }
    const QString path = folder.canonicalFilePath();
    QTreeWidgetItem* node = nullptr;
    for (int i = 0; i < root->childCount(); ++i) {
        QTreeWidgetItem* drive = root->child(i);
        const QString driveKey = keyOf(drive);
        if (tagOf(drive) == u"Drive"_s && (path + u'/').startsWith(driveKey) &&
            (node == nullptr || driveKey.size() > keyOf(node).size())) {
            node = drive;
        }
    }
    while (node != nullptr && keyOf(node) != path && keyOf(node) != path + u'/') {
        tvList_Expand(node);
        QTreeWidgetItem* next = nullptr;
        for (int i = 0; i < node->childCount() && next == nullptr; ++i) {
            const QString childKey = keyOf(node->child(i));
            if (path == childKey || path.startsWith(childKey + u'/')) {
                next = node->child(i);
            }
        }
        node->setExpanded(next != nullptr);
        node = next;
    }
    if (node != nullptr) {
        m_tvList->setCurrentItem(node);
        tvList_NodeClick();
    }
}

void FrmFileList::LoadRecentDocs()
{
    const QString logPath = AppPaths::file(u"Log.Dat"_s);
    if (!FileExists(logPath)) {
        m_mnuRecentDoc.first()->setVisible(false);
        m_mnuLin2->setVisible(false);
        return;
    }
    QFile log(logPath);
    if (!log.open(QIODevice::ReadOnly)) {
        return;
    }
    const QStringList paths = RecentDocuments::recentPaths(log.readAll());
    if (paths.isEmpty()) {
        return;
    }
    for (int i = 0; i < paths.size(); ++i) {
        QAction* entry = nullptr;
        if (i == 0) {
            entry = m_mnuRecentDoc.first();
        } else {
            entry = new QAction(m_mnuFile);
            entry->setObjectName(u"MnuRecentDoc_%1"_s.arg(i));
            m_mnuFile->insertAction(m_mnuLin2, entry);
            m_mnuRecentDoc << entry;
        }
        const QString path = paths.at(i);
        entry->setText(u"&%1.  %2"_s.arg(i + 1).arg(RecentDocuments::ShortenPath(path)));
        entry->setData(path);
        entry->setEnabled(true);
        entry->setVisible(true);
        connect(entry, &QAction::triggered, this, [this, i] { MnuRecentDoc_Click(i); });
    }
    m_mnuLin2->setVisible(true);
}

void FrmFileList::MnuRecentDoc_Click(int index)
{
    OpenWordDocument(m_mnuRecentDoc.at(index)->data().toString());
}

void FrmFileList::NewWordDocument()
{
    const WaitCursor wait;
    wordlink::openForUser({});
}

void FrmFileList::ChooseWordDocument()
{
    // The caption names .doc; the patterns let .docx through as well.
    const QString name = Dialogs::ShowFileDialog(u"Word Documents (*.doc)|*.doc;*.docx"_s, {}, this);
    if (wordlink::endsAsWordDocument(name)) {
        OpenWordDocument(name);
    }
}

void FrmFileList::OpenWordDocument(const QString& path)
{
    // The document goes to the office suite's visible writer, which stays with the user.
    bool opened = false;
    {
        const WaitCursor wait;
        opened = wordlink::openForUser(path);
    }
    if (!opened) {
        MessageBoxes::information(u"The document name or path is not valid"_s);
    }
}

void FrmFileList::lblViewLog_Click()
{
    if (FileExists(AppPaths::file(u"Log.Dat"_s))) {
        emit logRequested();
    } else {
        MessageBoxes::information(u"Logfile not found !"_s);
    }
}

void FrmFileList::MnuWHelp_Click()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(AppPaths::helpFile()));
}

void FrmFileList::mnuFeatures_Click()
{
    FrmWelcome* welcome = FrmWelcome::instance();
    welcome->ChkDontShow()->setVisible(false);
    welcome->show();
    SetTopMost(welcome);
}

void FrmFileList::MnuAbtW_Click()
{
    auto* about = new FrmSplash(this);
    about->showAbout();
}
