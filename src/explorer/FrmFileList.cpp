#include "FrmFileList.h"

#include "DocumentListing.h"
#include "PreviewRenderer.h"
#include "RecentDocuments.h"
#include "WindowPlacement.h"
#include "core/AppPaths.h"
#include "core/CommonRoutines.h"
#include "core/Dialogs.h"
#include "core/FileOperations.h"
#include "core/FrmSplash.h"
#include "core/FrmWelcome.h"
#include "core/ListSeparator.h"
#include "core/MessageBoxes.h"
#include "core/PageView.h"
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
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QProcess>
#include <QSplitter>
#include <QStandardPaths>
#include <QStatusBar>
#include <QStorageInfo>
#include <QStyle>
#include <QTextBrowser>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int KeyRole = Qt::UserRole;
constexpr int TagRole = Qt::UserRole + 1;
const QString MyComputer = u"My Computer"_s;
const QString Desktop = u"Desktop"_s;
const QString MyDocuments = u"My Documents"_s;
const QString Folder = u"Folder"_s;
const QString Drive = u"Drive"_s;
const QString Pressed = u"Pressed"_s;
const QString BigPreviewState = u"V2PRE"_s;
const QString TypedAddress = u"TxtAddress"_s;

QIcon themeIcon(const QString& name, QStyle::StandardPixmap fallback)
{
    return QIcon::fromTheme(name, QApplication::style()->standardIcon(fallback));
}

// A closed folder, shown open while it is selected.
QIcon folderIcon(bool opensWhenSelected)
{
    QIcon icon = themeIcon(u"folder"_s, QStyle::SP_DirClosedIcon);
    if (opensWhenSelected) {
        const QIcon open = themeIcon(u"folder-open"_s, QStyle::SP_DirOpenIcon);
        for (const QSize& size : {QSize(16, 16), QSize(22, 22), QSize(32, 32)}) {
            icon.addPixmap(open.pixmap(size), QIcon::Selected);
        }
    }
    return icon;
}

// The picture of a drive by its kind: a network share, an optical disc, a removable medium or
// a fixed disk.
QIcon driveIcon(const QStorageInfo& volume)
{
    static const QStringList network = {u"nfs"_s,   u"nfs4"_s,       u"cifs"_s,  u"smb3"_s,
                                        u"smbfs"_s, u"fuse.sshfs"_s, u"davfs"_s, u"fuse.davfs"_s};
    const QString type = QString::fromLatin1(volume.fileSystemType());
    const QString root = volume.rootPath();
    if (network.contains(type)) {
        return themeIcon(u"folder-remote"_s, QStyle::SP_DriveNetIcon);
    }
    if (type == u"iso9660"_s || type == u"udf"_s) {
        return themeIcon(u"media-optical"_s, QStyle::SP_DriveCDIcon);
    }
    if (root.startsWith(u"/media/"_s) || root.startsWith(u"/run/media/"_s)) {
        return themeIcon(u"drive-removable-media"_s, QStyle::SP_DriveFDIcon);
    }
    return themeIcon(u"drive-harddisk"_s, QStyle::SP_DriveHDIcon);
}

bool isListedVolume(const QStorageInfo& volume)
{
    const QString root = volume.rootPath();
    if (!volume.isValid() || !volume.isReady() || volume.fileSystemType() == "squashfs") {
        return false;
    }
    if (root.startsWith(u"/run/media/"_s)) {
        return true;
    }
    for (const QString& system : {u"/proc"_s, u"/sys"_s, u"/dev"_s, u"/run"_s, u"/snap"_s}) {
        if (root == system || root.startsWith(system + u'/')) {
            return false;
        }
    }
    return true;
}

QString keyOf(const QTreeWidgetItem* node)
{
    return node->data(0, KeyRole).toString();
}

QString tagOf(const QTreeWidgetItem* node)
{
    return node->data(0, TagRole).toString();
}

// A label edit that ended, with or without a change: the label is no longer editable.
void endLabelEdit(QTreeWidget* view)
{
    if (QTreeWidgetItem* item = view->currentItem()) {
        const QSignalBlocker quiet(view);
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    }
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

QFileInfoList subfolders(const QString& path)
{
    return QDir(path).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);
}

bool hasSubfolders(const QString& path)
{
    return !QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty();
}

QString withoutTrailingSlash(const QString& key)
{
    return key.size() > 1 && key.endsWith(u'/') ? key.chopped(1) : key;
}

QString listDate(const QDateTime& time)
{
    return QLocale(QLocale::English).toString(time, u"dd/MM/yyyy hh:mm:ss AP"_s);
}

// The preview's resolution: a page at its printed size on this screen.
int previewDotsPerInch(const QWidget* widget)
{
    return qRound(96 * widget->devicePixelRatioF());
}

// True when the desktop has a browser to show an HTML page with.
bool desktopHasBrowser()
{
    if (QStandardPaths::findExecutable(u"xdg-open"_s).isEmpty()) {
        return false;
    }
    QProcess query;
    query.start(u"xdg-mime"_s, {u"query"_s, u"default"_s, u"text/html"_s});
    if (!query.waitForFinished(3000)) {
        query.kill();
        return false;
    }
    return !query.readAllStandardOutput().trimmed().isEmpty();
}

const StoredRect MainRect{Keys::MainLeft, Keys::MainTop, Keys::MainWidth, Keys::MainHeight};

} // namespace

FrmFileList::FrmFileList(QWidget* parent)
    : QMainWindow(parent)
    , m_renderer(new PreviewRenderer(this))
{
    setObjectName(u"frmFileList"_s);
    setWindowTitle(u"Quillbay+"_s);
    setWindowIcon(themeIcon(u"x-office-document"_s, QStyle::SP_FileIcon));
    buildMenus();
    buildPopupMenus();

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(buildToolbar());
    layout->addWidget(buildAddressBar());
    buildPanes();
    layout->addWidget(m_panes, 1);
    setCentralWidget(central);

    statusBar()->setObjectName(u"sbStatusBar"_s);
    connect(m_renderer, &PreviewRenderer::pageReady, this, &FrmFileList::showPage);
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
    QAction* defaultLayout = layout->addAction(u"&Default Layout"_s);
    defaultLayout->setObjectName(u"MnuDefLayOut"_s);
    connect(defaultLayout, &QAction::triggered, this, &FrmFileList::MnuDefLayOut_Click);
    QAction* bigPreview = layout->addAction(u"&Big Preview Pane"_s);
    bigPreview->setObjectName(u"MnuBPPLayOut"_s);
    connect(bigPreview, &QAction::triggered, this, &FrmFileList::MnuBPPLayOut_Click);
    layout->addSeparator()->setObjectName(u"MnuLin3"_s);
    QAction* reset = layout->addAction(u"Reset Layout Settings"_s);
    reset->setObjectName(u"MnuRstLayout"_s);
    connect(reset, &QAction::triggered, this, &FrmFileList::MnuRstLayout_Click);

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

void FrmFileList::buildPopupMenus()
{
    const auto entry = [this](QMenu* menu, const QString& name, const QString& caption,
                              void (FrmFileList::*handler)()) {
        QAction* action = menu->addAction(caption);
        action->setObjectName(name);
        connect(action, &QAction::triggered, this, handler);
        return action;
    };
    m_mnuWordProperties = new QMenu(this);
    m_mnuWordProperties->setObjectName(u"mnuWordProperties"_s);
    entry(m_mnuWordProperties, u"MnuOpen"_s, u"Open"_s, &FrmFileList::lvList_DblClick);
    entry(m_mnuWordProperties, u"MnuDelete"_s, u"Delete"_s, &FrmFileList::MnuDelete_Click);
    entry(m_mnuWordProperties, u"MnuRename"_s, u"Rename"_s, &FrmFileList::MnuRename_Click);
    entry(m_mnuWordProperties, u"MnuSelall"_s, u"Select All"_s, &FrmFileList::MnuSelall_Click);
    m_mnuWordProperties->addSeparator();
    entry(m_mnuWordProperties, u"mnuMoveFile"_s, u"Move to folder ..."_s, &FrmFileList::mnuMoveFile_Click);
    entry(m_mnuWordProperties, u"mnuCopyFile"_s, u"Copy to folder ..."_s, &FrmFileList::mnuCopyFile_Click);

    m_mnuFolder = new QMenu(u"Folder"_s, this);
    m_mnuFolder->setObjectName(u"MnuFolder"_s);
    QAction* expand = m_mnuFolder->addAction(u"Expand"_s);
    expand->setObjectName(u"MnuExpand"_s);
    connect(expand, &QAction::triggered, this, [this] {
        if (QTreeWidgetItem* node = m_tvList->currentItem()) {
            node->setExpanded(true);
        }
    });
    QAction* explore = m_mnuFolder->addAction(u"Explore"_s);
    explore->setObjectName(u"MnuExplore"_s);
    connect(explore, &QAction::triggered, this, [this] {
        if (QTreeWidgetItem* node = m_tvList->currentItem()) {
            node->setExpanded(true);
            tvList_NodeClick();
        }
    });
    m_mnuFolder->addSeparator();
    entry(m_mnuFolder, u"MnuCutFolder"_s, u"Cut"_s, &FrmFileList::MnuCutFolder_Click);
    entry(m_mnuFolder, u"MnuCopyFolder"_s, u"Copy"_s, &FrmFileList::MnuCopyFolder_Click);
    entry(m_mnuFolder, u"MnuPasteFolder"_s, u"Paste"_s, &FrmFileList::MnuPasteFolder_Click);
    m_mnuFolder->addSeparator();
    entry(m_mnuFolder, u"MnuFolderRename"_s, u"Rename"_s, &FrmFileList::MnuFolderRename_Click);
    entry(m_mnuFolder, u"MnuFolderDelete"_s, u"Delete"_s, &FrmFileList::MnuFolderDelete_Click);
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
        void (FrmFileList::*click)();
    };
    const QList<Button> buttons = {
        {u"lblNew"_s, u"New"_s, u"document-new"_s, QStyle::SP_FileIcon, u"Click to open a new word document"_s,
         &FrmFileList::NewWordDocument},
        {u"lblOpen"_s, u"Open"_s, u"document-open"_s, QStyle::SP_DialogOpenButton, u"Click to open a word document"_s,
         &FrmFileList::ChooseWordDocument},
        {u"lblBack"_s, u"Back"_s, u"go-previous"_s, QStyle::SP_ArrowBack, {}, &FrmFileList::lblBack_Click},
        {u"lblForward"_s, u"Forward"_s, u"go-next"_s, QStyle::SP_ArrowForward, {}, &FrmFileList::lblForward_Click},
        {u"lblUp"_s, u"Up"_s, u"go-up"_s, QStyle::SP_FileDialogToParent, {}, &FrmFileList::lblUp_Click},
        {u"lblMailingList"_s, u"Mailing List"_s, u"mail-message-new"_s, QStyle::SP_DialogYesButton,
         u"Click to Prefer a Mailing List"_s, &FrmFileList::mailingListRequested},
        {u"lblsearch"_s, u"Search"_s, u"edit-find"_s, QStyle::SP_FileDialogContentsView, u"Click to Search Documents"_s,
         &FrmFileList::searchRequested},
        {u"lblViewLog"_s, u"View Log"_s, u"document-open-recent"_s, QStyle::SP_FileDialogDetailedView,
         u"Click to View Log file for Documents"_s, &FrmFileList::lblViewLog_Click},
        {u"lblSettings"_s, u"Settings"_s, u"preferences-system"_s, QStyle::SP_ComputerIcon,
         u"Click to Custom Settings"_s, &FrmFileList::settingsRequested},
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
        connect(button, &QToolButton::clicked, this, spec.click);
        row->addWidget(button);
    }
    row->addStretch();
    auto* picName = new QLabel(u"<b><span style='font-size:15pt'>Quillbay+</span></b>"_s, m_imgtop);
    picName->setObjectName(u"PicName"_s);
    row->addWidget(picName);
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
    m_imgAddress = new QLabel(bar);
    m_imgAddress->setObjectName(u"ImgAddress"_s);
    m_imgAddress->setFixedSize(16, 16);
    m_txtAddress = new QLineEdit(bar);
    m_txtAddress->setObjectName(u"txtAddress"_s);
    m_txtAddress->installEventFilter(this);
    connect(m_txtAddress, &QLineEdit::textEdited, m_imgAddress, &QLabel::clear);
    connect(m_txtAddress, &QLineEdit::returnPressed, this, [this] { txtAddress_KeyPress(13); });
    auto* go = new QToolButton(bar);
    go->setObjectName(u"lblGo"_s);
    go->setText(u"Go"_s);
    go->setIcon(themeIcon(u"go-jump"_s, QStyle::SP_ArrowRight));
    go->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    go->setAutoRaise(true);
    connect(go, &QToolButton::clicked, this, &FrmFileList::GoToAddress);
    row->addWidget(label);
    row->addWidget(m_imgAddress);
    row->addWidget(m_txtAddress, 1);
    row->addWidget(go);
    return bar;
}

QWidget* FrmFileList::buttonPair(QWidget* parent, const QString& name, Qt::Orientation orientation,
                                 const std::array<SmallButton, 2>& looks, QToolButton* (&buttons)[2],
                                 void (FrmFileList::*click)(int))
{
    auto* strip = new QWidget(parent);
    strip->setObjectName(name);
    QBoxLayout* layout =
        orientation == Qt::Horizontal ? static_cast<QBoxLayout*>(new QHBoxLayout(strip)) : new QVBoxLayout(strip);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addStretch();
    for (int index = 0; index < 2; ++index) {
        auto* button = new QToolButton(strip);
        button->setObjectName(looks.at(index).name);
        button->setToolTip(looks.at(index).tip);
        button->setIcon(QApplication::style()->standardIcon(looks.at(index).icon));
        button->setAutoRaise(true);
        button->setVisible(index == 0);
        connect(button, &QToolButton::clicked, this, [this, click, index] { (this->*click)(index); });
        layout->addWidget(button);
        buttons[index] = button;
    }
    layout->addStretch();
    return strip;
}

QWidget* FrmFileList::buildTreePane()
{
    m_treePane = new QWidget(this);
    auto* row = new QHBoxLayout(m_treePane);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);

    m_treeColumn = new QWidget(m_treePane);
    auto* column = new QVBoxLayout(m_treeColumn);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    m_lblFolder = new QLabel(u"  Folders"_s, m_treeColumn);
    m_lblFolder->setObjectName(u"LblFolder"_s);
    m_lblFolder->setStyleSheet(u"background: palette(mid); color: palette(bright-text); padding: 3px;"_s);
    m_tvList = new QTreeWidget(m_treeColumn);
    m_tvList->setObjectName(u"tvList"_s);
    m_tvList->setHeaderHidden(true);
    m_tvList->setContextMenuPolicy(Qt::CustomContextMenu);
    m_tvList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tvList->setStatusTip(u"Click the folders to view available Documents"_s);
    m_tvList->installEventFilter(this);
    connect(m_tvList, &QTreeWidget::itemExpanded, this, &FrmFileList::tvList_Expand);
    connect(m_tvList, &QTreeWidget::itemClicked, this, [this] { tvList_NodeClick(); });
    connect(m_tvList, &QWidget::customContextMenuRequested, this, &FrmFileList::tvList_MouseDown);
    connect(m_tvList, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* node) {
        if (node->flags().testFlag(Qt::ItemIsEditable)) {
            tvList_AfterLabelEdit(node);
        }
    });
    connect(m_tvList->itemDelegate(), &QAbstractItemDelegate::closeEditor, this, [this] { endLabelEdit(m_tvList); });

    m_picView2 = buttonPair(m_treeColumn, u"PicView2"_s, Qt::Horizontal,
                            {{{u"Picv2_0"_s, u"Big preview pane"_s, QStyle::SP_TitleBarMaxButton},
                              {u"Picv2_1"_s, u"Normal preview pane"_s, QStyle::SP_TitleBarNormalButton}}},
                            m_picv2, &FrmFileList::Picv2_Click);

    column->addWidget(m_lblFolder);
    column->addWidget(m_tvList, 1);
    column->addWidget(m_picView2);

    QWidget* picture1 = buttonPair(m_treePane, u"Picture1"_s, Qt::Vertical,
                                   {{{u"Pic1_0"_s, u"Hide the folders"_s, QStyle::SP_ArrowLeft},
                                     {u"Pic1_1"_s, u"Show the folders"_s, QStyle::SP_ArrowRight}}},
                                   m_pic1, &FrmFileList::Pic1_Click);

    row->addWidget(m_treeColumn, 1);
    row->addWidget(picture1);
    // The grip decides the tree's width, down to the narrowest the drag rules allow.
    m_treePane->setMinimumWidth(1);
    return m_treePane;
}

QWidget* FrmFileList::buildListPane()
{
    m_listPane = new QWidget(this);
    auto* layout = new QVBoxLayout(m_listPane);
    layout->setContentsMargins(0, 0, 0, 0);
    m_lvList = new QTreeWidget(m_listPane);
    m_lvList->setObjectName(u"lvList"_s);
    m_lvList->setRootIsDecorated(false);
    m_lvList->setUniformRowHeights(true);
    m_lvList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_lvList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_lvList->setContextMenuPolicy(Qt::CustomContextMenu);
    m_lvList->setHeaderLabels({u"Name"_s, u"Date Modified"_s, u"Size"_s});
    m_lvList->header()->resizeSection(0, Twips::toPixels(5644));
    m_lvList->header()->resizeSection(1, Twips::toPixels(3933));
    m_lvList->header()->resizeSection(2, Twips::toPixels(1614));
    m_lvList->header()->setSectionsClickable(true);
    m_lvList->headerItem()->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
    connect(m_lvList->header(), &QHeaderView::sectionClicked, this, &FrmFileList::lvList_ColumnClick);
    connect(m_lvList, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem* current) { lvList_ItemClick(current); });
    connect(m_lvList, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { lvList_ItemClick(item); });
    connect(m_lvList, &QTreeWidget::itemDoubleClicked, this, &FrmFileList::lvList_DblClick);
    connect(m_lvList, &QWidget::customContextMenuRequested, this, &FrmFileList::lvList_MouseDown);
    connect(m_lvList, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
        if (item->flags().testFlag(Qt::ItemIsEditable)) {
            lvList_AfterLabelEdit(item);
        }
    });
    connect(m_lvList->itemDelegate(), &QAbstractItemDelegate::closeEditor, this, [this] { endLabelEdit(m_lvList); });
    m_fraNoItems = new QLabel(u"There are no items to show in this view"_s, m_listPane);
    m_fraNoItems->setObjectName(u"lblNItems"_s);
    m_fraNoItems->setAlignment(Qt::AlignHCenter);
    m_fraNoItems->setVisible(false);
    layout->addWidget(m_lvList, 1);
    layout->addWidget(m_fraNoItems);
    return m_listPane;
}

QWidget* FrmFileList::buildPreviewPane()
{
    m_previewPane = new QWidget(this);
    auto* layout = new QVBoxLayout(m_previewPane);
    layout->setContentsMargins(0, 4, 0, 0);
    auto* header = new QWidget(m_previewPane);
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
    m_picOle = new PageView({u"picOle"_s, u"oleWord"_s, u"picHS"_s, u"picVS"_s, u"PicScr"_s}, m_previewPane);
    // Over the page: the preview being made, or why there is none.
    m_lblPreviewState = new QLabel(m_picOle);
    m_lblPreviewState->setObjectName(u"lblPreviewState"_s);
    m_lblPreviewState->setAlignment(Qt::AlignCenter);
    m_lblPreviewState->setWordWrap(true);
    m_lblPreviewState->setVisible(false);
    m_picOle->installEventFilter(this);
    layout->addWidget(header);
    layout->addWidget(m_picOle, 1);
    return m_previewPane;
}

void FrmFileList::buildPanes()
{
    m_panes = new QWidget(this);
    auto* layout = new QVBoxLayout(m_panes);
    layout->setContentsMargins(0, 0, 0, 0);
    m_imgSplitter = new QSplitter(Qt::Horizontal, m_panes);
    m_imgSplitter->setObjectName(u"imgSplitter"_s);
    m_imgSpltList = new QSplitter(Qt::Vertical, m_panes);
    m_imgSpltList->setObjectName(u"imgSpltList"_s);
    for (QSplitter* splitter : {m_imgSplitter, m_imgSpltList}) {
        splitter->setChildrenCollapsible(false);
        // The grips move their panes when they are let go, as the limits of a drag are applied.
        splitter->setOpaqueResize(false);
    }
    connect(m_imgSplitter, &QSplitter::splitterMoved, this,
            [this](int position) { imgSplitter_MouseUp(Twips::fromPixels(position)); });
    connect(m_imgSpltList, &QSplitter::splitterMoved, this,
            [this](int position) { imgSpltList_MouseUp(Twips::fromPixels(panesTop() + position)); });
    buildTreePane();
    buildListPane();
    buildPreviewPane();
    arrangePanes();
}

void FrmFileList::arrangePanes()
{
    const bool big = m_previewState == BigPreviewState;
    QSplitter* outer = big ? m_imgSpltList : m_imgSplitter;
    QSplitter* inner = big ? m_imgSplitter : m_imgSpltList;
    if (outer->parentWidget() == m_panes && outer->indexOf(inner) >= 0) {
        return;
    }
    // The splitter that becomes the outer one leaves the other first, so that neither ever
    // holds the other.
    m_panes->layout()->removeWidget(inner);
    outer->setParent(m_panes);
    if (big) {
        m_imgSplitter->insertWidget(0, m_treePane);
        m_imgSplitter->insertWidget(1, m_listPane);
        m_imgSpltList->insertWidget(0, m_imgSplitter);
        m_imgSpltList->insertWidget(1, m_previewPane);
    } else {
        m_imgSpltList->insertWidget(0, m_listPane);
        m_imgSpltList->insertWidget(1, m_previewPane);
        m_imgSplitter->insertWidget(0, m_treePane);
        m_imgSplitter->insertWidget(1, m_imgSpltList);
    }
    m_imgSplitter->setStretchFactor(1, 1);
    m_imgSpltList->setStretchFactor(1, 1);
    m_panes->layout()->addWidget(outer);
    outer->show();
    inner->show();
}

void FrmFileList::Form_Load(const std::function<void(const QString&)>& progress)
{
    const WaitCursor wait;
    m_loading = true;

    WindowPlacement::restore(this, MainRect);

    // Read at start and never written: only a hand-edited store changes it.
    const double listHeight = WindowPlacement::storedLength(Keys::ListHeight).value_or(3500);
    m_imgSpltList->setSizes({Twips::toPixels(listHeight), Twips::toPixels(2000)});

    m_splitterLeft = WindowPlacement::storedLength(Keys::SplitterLeft).value_or(0);
    m_listTop = WindowPlacement::storedLength(Keys::ListSplitterTop).value_or(0);
    m_txtAddress->setText(SettingsStore::instance().value(Keys::AddressBarFile));
    // A stored 0 counts as absent.
    if (m_splitterLeft == 0) {
        m_splitterLeft = 3660;
        m_positionsLoaded = true;
    }
    if (m_listTop == 0) {
        m_listTop = 3000;
        m_positionsLoaded = true;
    }

    m_loading = false;
    m_imgtopTag = u"Load"_s;

    progress(u"Initializing Drives..."_s);
    LoadDrives();

    m_lblFileName->clear();
    m_lblCreated->clear();
    // The first geometry; the first resize of the shown window refines it.
    SizeControls(m_splitterLeft, m_listTop);

    progress(u"Loading Documents..."_s);
    LoadRecentDocs();
    LoadDoc();

    showHistoryButtons();
    statusBar()->showMessage(u"Done"_s);

    if (m_txtAddress->text().isEmpty()) {
        m_txtAddress->setText(MyComputer);
    }
    txtAddress_KeyPress(13);

    m_imgtopTag.clear();
    m_positionsLoaded = true;
    SetPreviewScrollBars();

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
    SizeControls(m_splitterLeft, m_listTop);
}

double FrmFileList::listSplitterTop() const
{
    return m_listTop;
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
    return m_panes->mapTo(centralWidget(), QPoint(0, 0)).y();
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
    if (y < 2000) {
        y = Twips::fromPixels(m_imgtop->height()) + 900;
    }
    // A grip dragged fully to the left means the same as the hide-tree button.
    if (x == 50) {
        m_previewState = Pressed;
        m_pic1[0]->setVisible(false);
        m_pic1[1]->setVisible(true);
        m_picView2->setVisible(false);
    }
    m_splitterLeft = x;
    m_listTop = y;
    arrangePanes();
    const bool treeHidden = m_previewState == Pressed;
    m_treeColumn->setVisible(!treeHidden);
    const int strip = m_pic1[0]->parentWidget()->sizeHint().width();
    const int left = treeHidden ? strip : qMax(Twips::toPixels(x), strip + 1);
    m_imgSplitter->setSizes({left, qMax(m_imgSplitter->width() - left, 1)});
    const int listHeight = qMax(Twips::toPixels(y) - panesTop(), 40);
    m_imgSpltList->setSizes({listHeight, qMax(m_imgSpltList->height() - listHeight, 40)});
    if (x + (treeHidden ? 100 : 110) > 600) {
        m_lblFolder->setVisible(true);
    }
    SetPreviewScrollBars();
    m_positionsLoaded = false;
}

void FrmFileList::imgSplitter_MouseUp(double left)
{
    // The limits of the drag: near the left edge the tree goes, near the right edge it stops.
    const double formWidth = Twips::fromPixels(width());
    if (left < 500) {
        left = 50;
        m_lblFolder->setVisible(false);
    } else if (left > formWidth - 500) {
        left = formWidth - 500;
    }
    if (!m_imgSplitterTag.isEmpty() ? m_imgSplitterTag.toDouble() > 500 && m_splitterLeft > 500
                                    : m_splitterLeft > 500) {
        m_imgSplitterTag = QString::number(m_splitterLeft);
    }
    if (m_previewState == Pressed) {
        m_previewState.clear();
        m_pic1[1]->setVisible(false);
        m_picView2->setVisible(true);
        m_pic1[0]->setVisible(true);
    }
    SizeControls(left, m_listTop);
}

void FrmFileList::imgSpltList_MouseUp(double top)
{
    // The list keeps 500 at the top and the preview 1000 above the status bar.
    const double statusTop = Twips::fromPixels(statusBar()->y() - centralWidget()->y());
    if (top >= statusTop - 1000) {
        top = m_listTop;
    } else if (top < 500) {
        top = 500;
    } else {
        top = qMin(top, Twips::fromPixels(height()) - 500);
    }
    SizeControls(m_splitterLeft, top);
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
    store.setValue(Keys::DocName, m_sourceDoc);
    closePreview();
    if (!isMinimized()) {
        WindowPlacement::save(this, MainRect);
    }
    store.setValue(Keys::ViewMode, u"3"_s); // the list shows the report view
    // With the tree hidden, its older place is kept for the next start.
    store.setValue(Keys::SplitterLeft, m_previewState == Pressed ? m_imgSplitterTag : QString::number(m_splitterLeft));
    store.setValue(Keys::ListSplitterTop, QString::number(listSplitterTop()));
    // With no node selected there is no key to save, and the address of the last exit stays.
    if (const QTreeWidgetItem* selected = m_tvList->currentItem()) {
        store.setValue(Keys::AddressBarFile, keyOf(selected));
    }
    store.setValue(Keys::WordRunning, u"N"_s);
}

bool FrmFileList::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_txtAddress && event->type() == QEvent::FocusIn) {
        // txtAddress_GotFocus: the whole address is selected, ready to be typed over.
        QTimer::singleShot(0, m_txtAddress, &QLineEdit::selectAll);
    } else if (watched == m_tvList && event->type() == QEvent::KeyPress) {
        // A node chosen with the keyboard is clicked, as with the mouse.
        switch (static_cast<QKeyEvent*>(event)->key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_Home:
        case Qt::Key_End:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            QMetaObject::invokeMethod(this, &FrmFileList::tvList_NodeClick, Qt::QueuedConnection);
            break;
        default:
            break;
        }
    } else if (watched == m_picOle && event->type() == QEvent::Resize) {
        m_lblPreviewState->setGeometry(m_picOle->rect());
    }
    return QMainWindow::eventFilter(watched, event);
}

// ---- The folder tree ------------------------------------------------------------------------

void FrmFileList::LoadDrives()
{
    m_tvList->clear();
    auto* root = new QTreeWidgetItem(m_tvList, {MyComputer});
    root->setData(0, KeyRole, MyComputer);
    root->setIcon(0, themeIcon(u"computer"_s, QStyle::SP_ComputerIcon));

    const QString desktop = GetSpecialFolder(10);
    if (!desktop.isEmpty()) {
        addPlaceholder(
            addNode(root, desktop + u'/', Desktop, Folder, themeIcon(u"user-desktop"_s, QStyle::SP_DesktopIcon)));
    }
    const QString documents = GetSpecialFolder(3);
    if (!documents.isEmpty()) {
        addPlaceholder(addNode(root, documents + u'/', MyDocuments, Folder,
                               themeIcon(u"folder-documents"_s, QStyle::SP_DirHomeIcon)));
    }
    // The mounted volumes stand for the drives, the root file system first.
    QList<QStorageInfo> volumes = QStorageInfo::mountedVolumes();
    std::stable_sort(volumes.begin(), volumes.end(),
                     [](const QStorageInfo& a, const QStorageInfo& b) { return a.isRoot() && !b.isRoot(); });
    for (const QStorageInfo& volume : volumes) {
        if (!isListedVolume(volume)) {
            continue;
        }
        const QString rootPath = volume.rootPath();
        const QString key = rootPath.endsWith(u'/') ? rootPath : rootPath + u'/';
        const QString text =
            volume.isRoot() ? u"File System (/)"_s : (volume.displayName().isEmpty() ? rootPath : volume.displayName());
        addPlaceholder(addNode(root, key, text, Drive, driveIcon(volume)));
    }
    root->setExpanded(true);
}

void FrmFileList::tvList_Expand(QTreeWidgetItem* node)
{
    if (node->childCount() == 0 || !node->child(0)->text(0).isEmpty()) {
        return;
    }
    const WaitCursor wait;
    delete node->takeChild(0);
    const QString key = keyOf(node);
    const bool keepSlash = key.endsWith(u'/') && tagOf(node) != Drive;
    for (const QFileInfo& entry : subfolders(key)) {
        const QString path = entry.absoluteFilePath();
        const QString name = entry.fileName();
        // Only a subfolder named "Desktop" opens when selected from its first showing.
        QTreeWidgetItem* child =
            addNode(node, keepSlash ? path + u'/' : path, name, Folder, folderIcon(name == Desktop));
        if (hasSubfolders(path)) {
            addPlaceholder(child);
        }
    }
}

void FrmFileList::fillTwoLevels(QTreeWidgetItem* node)
{
    for (const QFileInfo& entry : subfolders(keyOf(node))) {
        QTreeWidgetItem* child = addNode(node, entry.absoluteFilePath(), entry.fileName(), Folder, folderIcon(true));
        for (const QFileInfo& inner : subfolders(entry.absoluteFilePath())) {
            addNode(child, inner.absoluteFilePath(), inner.fileName(), Folder, folderIcon(true));
        }
    }
}

void FrmFileList::tvList_NodeClick()
{
    QTreeWidgetItem* selected = m_tvList->currentItem();
    if (selected == nullptr) {
        return;
    }
    SetAddressIcon();
    const QString text = selected->text(0);
    m_txtAddress->setText(text == Desktop || text == MyDocuments ? text : keyOf(selected));
    const QString tag = tagOf(selected);
    if (tag == Folder || tag == Drive) {
        const QString key = keyOf(selected);
        if (selected->childCount() == 0 && QFileInfo(key).isDir()) {
            fillTwoLevels(selected);
        }
        if (tag == Folder && text != Desktop && text != MyDocuments) {
            selected->setIcon(0, folderIcon(true));
        }
        fillDocumentList(key);
        selected->setExpanded(true);
        m_tvList->scrollToItem(selected);
    }
    if (m_lblAddHeaderTag != TypedAddress) {
        PushHistory();
        SetAddressIcon();
    }
}

void FrmFileList::tvList_MouseDown(const QPoint& position)
{
    if (QTreeWidgetItem* node = m_tvList->itemAt(position)) {
        m_tvList->setCurrentItem(node);
    }
    QTreeWidgetItem* selected = m_tvList->currentItem();
    if (selected == nullptr) {
        return;
    }
    QAction* expand = m_mnuFolder->findChild<QAction*>(u"MnuExpand"_s);
    if (selected->isExpanded()) {
        expand->setEnabled(false);
    } else if (selected->childCount() > 0) {
        expand->setEnabled(true);
    }
    m_mnuFolder->findChild<QAction*>(u"MnuPasteFolder"_s)->setEnabled(!m_folderClip.isEmpty());
    m_mnuFolder->popup(m_tvList->viewport()->mapToGlobal(position));
}

void FrmFileList::MnuFolderRename_Click()
{
    beginLabelEdit(m_tvList);
}

void FrmFileList::beginLabelEdit(QTreeWidget* view)
{
    QTreeWidgetItem* item = view->currentItem();
    if (item == nullptr) {
        return;
    }
    // tvList_BeforeLabelEdit and lvList_BeforeLabelEdit: the edit is allowed and the old text kept.
    m_oldLabel = item->text(0);
    {
        const QSignalBlocker quiet(view);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    }
    view->editItem(item, 0);
}

void FrmFileList::tvList_AfterLabelEdit(QTreeWidgetItem* node)
{
    const QSignalBlocker quiet(m_tvList);
    node->setFlags(node->flags() & ~Qt::ItemIsEditable);
    const QString newName = node->text(0);
    if (newName.isEmpty()) {
        MessageBoxes::show({u"You must type a Folder Name"_s, u"Rename"_s, MessageButtons::Ok, MessageIcon::Critical});
        node->setText(0, m_oldLabel);
        return;
    }
    if (newName == m_oldLabel) {
        return;
    }
    const QString key = keyOf(node);
    const QString path = withoutTrailingSlash(key);
    const QString renamed = QFileInfo(path).absolutePath() + u'/' + newName;
    if (newName.contains(u'/') || QFileInfo::exists(renamed) || !QDir().rename(path, renamed)) {
        MessageBoxes::show(
            {u"\"%1\" cannot be renamed to \"%2\": the name is taken or not allowed, or you may not change its folder."_s
                 .arg(m_oldLabel, newName),
             u"Rename"_s, MessageButtons::Ok, MessageIcon::Critical});
        node->setText(0, m_oldLabel);
        return;
    }
    // The node takes the new path; its children keep the keys they had.
    node->setData(0, KeyRole, key.endsWith(u'/') && tagOf(node) != Drive ? renamed + u'/' : renamed);
}

QTreeWidgetItem* FrmFileList::nodeByKey(const QString& key) const
{
    for (QTreeWidgetItemIterator it(m_tvList); *it != nullptr; ++it) {
        if (keyOf(*it) == key && !(*it)->text(0).isEmpty()) {
            return *it;
        }
    }
    return nullptr;
}

// ---- The document list ----------------------------------------------------------------------

void FrmFileList::fillDocumentList(const QString& folder)
{
    m_lvList->clear();
    const QIcon icon = themeIcon(u"x-office-document"_s, QStyle::SP_FileIcon);
    QList<QTreeWidgetItem*> items;
    for (const ListedDocument& document : DocumentListing::documentsIn(folder)) {
        auto* item = new QTreeWidgetItem({document.text, document.modified, document.size});
        item->setData(0, KeyRole, document.path);
        item->setIcon(0, icon);
        item->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
        items << item;
    }
    {
        // The first item is previewed below, once, rather than as it becomes current.
        const QSignalBlocker quiet(m_lvList);
        m_lvList->addTopLevelItems(items);
        if (m_sorted) {
            m_lvList->sortItems(m_sortKey, m_sortOrder);
        }
    }
    const bool empty = items.isEmpty();
    m_fraNoItems->setVisible(empty);
    m_lvList->setStatusTip(empty ? QString() : u"Click to preview the document!"_s);
    if (!m_imgtopTag.isEmpty()) {
        return; // at start-up the preview keeps the document it was given
    }
    if (!empty) {
        QTreeWidgetItem* first = m_lvList->topLevelItem(0);
        {
            const QSignalBlocker quiet(m_lvList);
            m_lvList->setCurrentItem(first);
        }
        lvList_ItemClick(first);
    } else {
        closePreview();
        showNoItemSelected();
        SetPreviewScrollBars();
    }
}

void FrmFileList::lvList_ItemClick(QTreeWidgetItem* item)
{
    if (item == nullptr || m_sourceDoc == keyOf(item)) {
        return;
    }
    m_lblNoItems->setVisible(false);
    m_lblFileName->setText(item->text(0));
    m_lblCreated->setText(item->text(1));
    CreateLink(keyOf(item));
    SetPreviewScrollBars();
}

void FrmFileList::lvList_DblClick()
{
    QTreeWidgetItem* item = m_lvList->currentItem();
    if (m_lvList->topLevelItemCount() == 0 || item == nullptr) {
        return;
    }
    OpenWordDocument(keyOf(item));
}

void FrmFileList::lvList_ColumnClick(int column)
{
    m_sorted = true;
    m_sortKey = column;
    for (int i = 0; i < m_lvList->columnCount(); ++i) {
        m_lvList->headerItem()->setIcon(i, QIcon());
    }
    // The first click on a column sorts it descending; every column sorts as text.
    if (m_sortOrder == Qt::DescendingOrder) {
        m_sortOrder = Qt::AscendingOrder;
        m_lvList->headerItem()->setIcon(column, QApplication::style()->standardIcon(QStyle::SP_ArrowUp));
    } else {
        m_sortOrder = Qt::DescendingOrder;
        m_lvList->headerItem()->setIcon(column, QApplication::style()->standardIcon(QStyle::SP_ArrowDown));
    }
    const QSignalBlocker quiet(m_lvList);
    m_lvList->sortItems(m_sortKey, m_sortOrder);
}

QList<QTreeWidgetItem*> FrmFileList::selectedDocuments() const
{
    QList<QTreeWidgetItem*> selected;
    for (int i = 0; i < m_lvList->topLevelItemCount(); ++i) {
        if (m_lvList->topLevelItem(i)->isSelected()) {
            selected << m_lvList->topLevelItem(i);
        }
    }
    return selected;
}

void FrmFileList::lvList_MouseDown(const QPoint& position)
{
    if (QTreeWidgetItem* item = m_lvList->itemAt(position); item != nullptr && !item->isSelected()) {
        m_lvList->setCurrentItem(item);
    }
    const qsizetype selected = selectedDocuments().size();
    if (selected == 0) {
        return;
    }
    m_mnuWordProperties->findChild<QAction*>(u"MnuOpen"_s)->setEnabled(selected == 1);
    m_mnuWordProperties->findChild<QAction*>(u"MnuRename"_s)->setEnabled(selected == 1);
    m_mnuWordProperties->popup(m_lvList->viewport()->mapToGlobal(position));
}

void FrmFileList::MnuSelall_Click()
{
    m_lvList->selectAll();
}

void FrmFileList::MnuRename_Click()
{
    beginLabelEdit(m_lvList);
}

void FrmFileList::lvList_AfterLabelEdit(QTreeWidgetItem* item)
{
    const QSignalBlocker quiet(m_lvList);
    item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    const QString newName = item->text(0);
    if (newName.isEmpty()) {
        MessageBoxes::show({u"You must type a FileName"_s, u"Rename"_s, MessageButtons::Ok, MessageIcon::Critical});
        item->setText(0, m_oldLabel);
        return;
    }
    const QString key = keyOf(item);
    const QFileInfo file(key);
    // The document keeps its own kind: a .docx stays a .docx.
    const QString renamed = file.absolutePath() + u'/' + newName + u'.' + file.suffix();
    if (renamed == key) {
        return;
    }
    // The preview lets go of the document before it is renamed.
    if (m_sourceDoc == key) {
        closePreview();
    }
    if (newName.contains(u'/') || QFileInfo::exists(renamed) || !QFile::rename(key, renamed)) {
        MessageBoxes::show(
            {u"\"%1\" cannot be renamed to \"%2\": the name is taken or not allowed, or you may not change its folder."_s
                 .arg(file.fileName(), QFileInfo(renamed).fileName()),
             u"Rename"_s, MessageButtons::Ok, MessageIcon::Critical});
        item->setText(0, m_oldLabel);
        return;
    }
    item->setData(0, KeyRole, renamed);
}

// ---- Navigation -----------------------------------------------------------------------------

void FrmFileList::PushHistory()
{
    m_history.PushHistory(m_txtAddress->text());
    showHistoryButtons();
}

void FrmFileList::showHistoryButtons()
{
    m_imgtop->findChild<QToolButton*>(u"lblBack"_s)->setEnabled(!m_history.backDisabled());
    m_imgtop->findChild<QToolButton*>(u"lblForward"_s)->setEnabled(!m_history.forwardDisabled());
}

void FrmFileList::SetAddressIcon()
{
    // The address shows the picture of the node it names: the Desktop, the documents, a drive
    // by its kind, a folder, the computer.
    if (const QTreeWidgetItem* selected = m_tvList->currentItem()) {
        m_imgAddress->setPixmap(selected->icon(0).pixmap(16, 16));
    }
}

void FrmFileList::fixAddressText()
{
    if (const QTreeWidgetItem* selected = m_tvList->currentItem();
        selected != nullptr && selected->parent() == m_tvList->topLevelItem(0) && tagOf(selected) == Folder) {
        m_txtAddress->setText(selected->text(0));
    }
}

void FrmFileList::showHistoryStep(const NavigationHistory::Step& step)
{
    showHistoryButtons();
    if (!step.address) {
        return;
    }
    const QString address = *step.address;
    m_txtAddress->setText(address);
    // Back and Forward only select the node: the list and the preview stay until a click.
    QTreeWidgetItem* root = m_tvList->topLevelItem(0);
    QTreeWidgetItem* node = nullptr;
    for (int i = 0; root != nullptr && i < root->childCount() && node == nullptr; ++i) {
        if (root->child(i)->text(0) == address && tagOf(root->child(i)) == Folder) {
            node = root->child(i);
        }
    }
    if (node == nullptr) {
        node = nodeByKey(address);
    }
    if (node != nullptr) {
        m_tvList->setCurrentItem(node);
    }
    fixAddressText();
    SetAddressIcon();
}

void FrmFileList::lblBack_Click()
{
    showHistoryStep(m_history.back());
}

void FrmFileList::lblForward_Click()
{
    showHistoryStep(m_history.forward());
}

void FrmFileList::lblUp_Click()
{
    QTreeWidgetItem* selected = m_tvList->currentItem();
    if (selected == nullptr) {
        return;
    }
    QTreeWidgetItem* parent = selected->parent();
    PushHistory();
    if (parent != nullptr) {
        m_txtAddress->setText(keyOf(parent));
        m_tvList->setCurrentItem(parent);
    }
    fixAddressText();
    SetAddressIcon();
}

void FrmFileList::GoToAddress()
{
    const QString wanted = m_txtAddress->text().toUpper();
    for (QTreeWidgetItemIterator it(m_tvList); *it != nullptr; ++it) {
        if (!(*it)->text(0).isEmpty() && keyOf(*it).toUpper() == wanted) {
            (*it)->setExpanded(true);
            m_tvList->setCurrentItem(*it);
            m_tvList->setFocus();
            tvList_NodeClick();
            break;
        }
    }
    if (m_lvList->topLevelItemCount() > 0) {
        lvList_ItemClick(m_lvList->topLevelItem(0));
    }
}

void FrmFileList::txtAddress_KeyPress(int keyAscii)
{
    m_imgAddress->clear();
    if (keyAscii != 13) {
        return;
    }
    m_lblAddHeaderTag = TypedAddress;
    const QString t = TextUtil::trimSpaces(m_txtAddress->text());
    QTreeWidgetItem* root = m_tvList->topLevelItem(0);
    if (t.compare(MyComputer, Qt::CaseInsensitive) == 0) {
        m_tvList->setCurrentItem(root);
        root->setExpanded(true);
        m_txtAddress->setText(MyComputer);
        m_tvList->setFocus();
        SetAddressIcon();
        return;
    }
    for (int i = 0; i < root->childCount(); ++i) {
        QTreeWidgetItem* special = root->child(i);
        if (tagOf(special) == Folder && special->text(0).compare(t, Qt::CaseInsensitive) == 0) {
            m_tvList->setCurrentItem(special);
            special->setExpanded(true);
            m_txtAddress->setText(special->text(0));
            m_tvList->setFocus();
            tvList_NodeClick();
            return;
        }
    }
    QString path = t;
    if (path.isEmpty()) {
        return;
    }
    if (path.size() > 1 && path.endsWith(u'/')) {
        path.chop(1);
    }
    const QFileInfo folder(path + u'/');
    if (!folder.isDir()) {
        return;
    }
    // The walk from the root down opens each node, which makes the children the next step
    // selects; it ends at the first part without a node.
    const QString real = QFileInfo(path).canonicalFilePath();
    const QStringList parts = real.split(u'/');
    QString current;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const QString prefix = current.endsWith(u'/') ? current : current + u'/';
        current = i == 0 ? parts.at(0) + u'/' : prefix + parts.at(i);
        if (i > 0 && parts.at(i).isEmpty()) {
            break;
        }
        QTreeWidgetItem* node = nodeByKey(current);
        if (node == nullptr) {
            break;
        }
        m_tvList->setCurrentItem(node);
        node->setExpanded(true);
        m_tvList->setFocus();
    }
    tvList_NodeClick();
    m_lblAddHeaderTag.clear();
}

// ---- File and folder operations -------------------------------------------------------------

void FrmFileList::MnuDelete_Click()
{
    if (m_lvList->topLevelItemCount() == 0) {
        return;
    }
    if (!MessageBoxes::askYesNo(u"Are you sure to delete the Selected file(s)"_s, MessageIcon::Critical)) {
        return;
    }
    // The documents go to the Trash, where the user can get them back.
    takeSelectedDocuments(&FileOperations::moveToTrash);
}

void FrmFileList::mnuMoveFile_Click()
{
    const QString destination = Dialogs::BrowseForFolder(u"Select Folder to move the file :"_s, 0, this);
    if (destination.isEmpty() || withoutTrailingSlash(m_txtAddress->text()) == withoutTrailingSlash(destination)) {
        return;
    }
    takeSelectedDocuments(
        [&destination](const QString& document) { return FileOperations::moveFile(document, destination); });
}

void FrmFileList::mnuCopyFile_Click()
{
    const QString destination = Dialogs::BrowseForFolder(u"Select Folder to copy the file(s) :"_s, 0, this);
    if (destination.isEmpty()) {
        return;
    }
    QStringList failures;
    for (const QTreeWidgetItem* item : selectedDocuments()) {
        const QString key = keyOf(item);
        const QString target = QDir(destination).filePath(QFileInfo(key).fileName());
        if (QFileInfo::exists(target) &&
            MessageBoxes::show({u"File Exists ,Want To Replace ?"_s, u"Quillbay+"_s, MessageButtons::OkCancel,
                                MessageIcon::Information}) != MessageAnswer::Ok) {
            continue;
        }
        if (const Status copied = FileOperations::copyFile(key, target); !copied.ok()) {
            failures << copied.error().message;
        }
    }
    reportFailures(failures);
}

void FrmFileList::takeSelectedDocuments(const std::function<Status(const QString&)>& operation)
{
    QStringList failures;
    const QList<QTreeWidgetItem*> selected = selectedDocuments();
    for (auto it = selected.rbegin(); it != selected.rend(); ++it) {
        const QString key = keyOf(*it);
        // The preview lets go of the document first.
        if (m_sourceDoc == key) {
            closePreview();
        }
        if (const Status done = operation(key); done.ok()) {
            const QSignalBlocker quiet(m_lvList); // the preview does not move on to a neighbour
            delete *it;
        } else {
            failures << done.error().message;
        }
    }
    reportFailures(failures);
}

void FrmFileList::reportFailures(const QStringList& failures)
{
    if (!failures.isEmpty()) {
        MessageBoxes::information(failures.join(u'\n'));
    }
}

void FrmFileList::putFolderOnClip(const QString& mode)
{
    QTreeWidgetItem* node = m_tvList->currentItem();
    if (node == nullptr || !(tagOf(node) == Folder || tagOf(node) == Drive)) {
        return;
    }
    m_folderClip =
        QStringList{QString::number(m_tvList->indexOfTopLevelItem(node)), mode, keyOf(node)}.join(ListSeparator());
}

void FrmFileList::MnuCutFolder_Click()
{
    putFolderOnClip(u"CUT"_s);
}

void FrmFileList::MnuCopyFolder_Click()
{
    putFolderOnClip(u"COPY"_s);
}

void FrmFileList::MnuPasteFolder_Click()
{
    const WaitCursor wait;
    QTreeWidgetItem* target = m_tvList->currentItem();
    if (target == nullptr || m_folderClip.isEmpty()) {
        return;
    }
    const QString destination = withoutTrailingSlash(keyOf(target));
    const QStringList fields = m_folderClip.split(ListSeparator());
    if (fields.size() != 3) {
        return;
    }
    const QString source = withoutTrailingSlash(fields.at(2));
    const QString name = QFileInfo(source).fileName();
    const bool cut = fields.at(1) == u"CUT"_s;
    const Status pasted =
        cut ? FileOperations::moveFolder(source, destination) : FileOperations::copyFolder(source, destination);
    if (!pasted.ok()) {
        MessageBoxes::information(pasted.error().message);
        return;
    }
    const QString pastedPath = QDir(destination).filePath(name);
    if (cut) {
        m_folderClip.clear();
        // The moved node goes under its new parent with the key it had.
        if (QTreeWidgetItem* moved = nodeByKey(fields.at(2)); moved != nullptr && moved->parent() != nullptr) {
            moved->parent()->removeChild(moved);
            target->addChild(moved);
        }
    } else if (nodeByKey(pastedPath + u'/') == nullptr) {
        // A copy may be pasted again; its node is added only once.
        QTreeWidgetItem* copy = addNode(target, pastedPath + u'/', name, Folder, folderIcon(true));
        m_tvList->setCurrentItem(copy);
        addPlaceholder(copy);
    }
    tvList_NodeClick();
}

void FrmFileList::MnuFolderDelete_Click()
{
    QTreeWidgetItem* node = m_tvList->currentItem();
    if (node == nullptr) {
        return;
    }
    if (!MessageBoxes::askYesNo(u"Are You Sure to Delete this folder with all its subitems"_s, MessageIcon::Critical,
                                u"Delete"_s)) {
        return;
    }
    const QString key = withoutTrailingSlash(keyOf(node));
    if (m_sourceDoc.startsWith(key + u'/')) {
        closePreview();
    }
    // The folder goes to the Trash with everything in it; its node goes once it has gone.
    if (const Status trashed = FileOperations::moveToTrash(key); !trashed.ok()) {
        MessageBoxes::information(trashed.error().message);
        return;
    }
    delete node;
}

// ---- The preview and the layouts ------------------------------------------------------------

void FrmFileList::LoadDoc()
{
    const QString name = SettingsStore::instance().value(Keys::DocName);
    if (!name.isEmpty() && QFileInfo(name).isFile()) {
        const QFileInfo file(name);
        m_lblNoItems->setVisible(false);
        m_lblCreated->setText(listDate(file.lastModified()));
        m_lblFileName->setText(file.fileName());
        CreateLink(name);
        return;
    }
    closePreview();
}

void FrmFileList::CreateLink(const QString& path)
{
    m_sourceDoc = path;
    m_picOle->showPage({});
    m_picOle->setBackgroundRole(QPalette::Mid);
    m_lblPreviewState->setText(u"Preparing the preview..."_s);
    m_lblPreviewState->setGeometry(m_picOle->rect());
    m_lblPreviewState->setVisible(true);
    m_renderer->request(path, previewDotsPerInch(this));
}

void FrmFileList::closePreview()
{
    // The blank page: nothing holds a document any more.
    m_renderer->cancel();
    m_sourceDoc.clear();
    m_picOle->showPage({});
    m_picOle->setBackgroundRole(QPalette::Base);
    m_lblPreviewState->setVisible(false);
}

void FrmFileList::showPage(const QString& path, const QImage& page)
{
    if (path != m_sourceDoc) {
        return;
    }
    m_picOle->showPage(page);
    if (page.isNull()) {
        m_lblPreviewState->setText(u"This document cannot be previewed."_s);
    }
    m_lblPreviewState->setVisible(page.isNull());
    SetPreviewScrollBars();
}

void FrmFileList::SetPreviewScrollBars()
{
    m_picOle->resetBars();
}

void FrmFileList::showNoItemSelected()
{
    m_lblNoItems->setVisible(true);
    m_lblFileName->clear();
    m_lblCreated->clear();
}

void FrmFileList::Pic1_Click(int index)
{
    if (index == 0) {
        WidenPreview();
        m_pic1[0]->setVisible(false);
        m_pic1[1]->setVisible(true);
        m_picv2[0]->setVisible(true);
        m_picv2[1]->setVisible(false);
    } else {
        RestorePreview();
        m_pic1[1]->setVisible(false);
        m_pic1[0]->setVisible(true);
    }
}

void FrmFileList::Picv2_Click(int index)
{
    if (index == 0) {
        BigPreview();
        m_picv2[0]->setVisible(false);
        m_picv2[1]->setVisible(true);
    } else {
        m_previewState.clear();
        SizeControls(m_splitterLeft, m_listTop);
        m_picv2[0]->setVisible(true);
        m_picv2[1]->setVisible(false);
    }
}

void FrmFileList::WidenPreview()
{
    m_previewState = Pressed;
    if (m_splitterLeft > 500) {
        m_imgSplitterTag = QString::number(m_splitterLeft);
    }
    SizeControls(50, m_listTop);
    m_lblFolder->setVisible(false);
    m_picView2->setVisible(false);
}

void FrmFileList::RestorePreview()
{
    m_previewState.clear();
    if (!m_imgSplitterTag.isEmpty()) {
        m_splitterLeft = m_imgSplitterTag.toDouble();
    }
    m_lblFolder->setVisible(true);
    m_picView2->setVisible(true);
    SizeControls(m_splitterLeft, m_listTop);
}

void FrmFileList::BigPreview()
{
    m_previewState = BigPreviewState;
    SizeControls(m_splitterLeft, m_listTop);
    m_picView2->setVisible(true);
}

void FrmFileList::MnuDefLayOut_Click()
{
    if (m_previewState == BigPreviewState) {
        Picv2_Click(1);
    } else {
        Pic1_Click(1);
        m_picv2[0]->setVisible(true);
    }
}

void FrmFileList::MnuBPPLayOut_Click()
{
    if (m_picv2[0]->isHidden()) {
        return;
    }
    m_previewState = BigPreviewState;
    if (!m_imgSplitterTag.isEmpty()) {
        m_splitterLeft = m_imgSplitterTag.toDouble();
    }
    SizeControls(m_splitterLeft, m_listTop);
    m_pic1[0]->setVisible(true);
    m_pic1[1]->setVisible(false);
    m_picv2[1]->setVisible(true);
    m_picv2[0]->setVisible(false);
    m_picView2->setVisible(true);
}

void FrmFileList::MnuRstLayout_Click()
{
    m_pic1[1]->setVisible(false);
    m_pic1[0]->setVisible(true);
    m_picv2[1]->setVisible(false);
    m_picv2[0]->setVisible(true);
    m_picView2->setVisible(true);
    m_previewState.clear();
    SizeControls(3660, m_listTop);
}

// ---- Commands -------------------------------------------------------------------------------

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
    if (wordlink::isWordDocumentName(name)) {
        OpenWordDocument(name);
    }
}

void FrmFileList::OpenWordDocument(const QString& path)
{
    // The document goes to the office suite's visible writer, which stays with the user.
    wordlink::UserOpen opened = wordlink::UserOpen::Opened;
    {
        const WaitCursor wait;
        opened = wordlink::openForUser(path);
    }
    if (opened == wordlink::UserOpen::NotThere) {
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
    const QString help = AppPaths::helpFile();
    if (desktopHasBrowser() && QDesktopServices::openUrl(QUrl::fromLocalFile(help))) {
        return;
    }
    // Without a browser the help shows in a window of its own.
    auto* browser = findChild<QTextBrowser*>(u"frmHelp"_s);
    if (browser == nullptr) {
        browser = new QTextBrowser(this);
        browser->setObjectName(u"frmHelp"_s);
        browser->setWindowFlag(Qt::Window);
        browser->setWindowTitle(u"Quillbay+ Help"_s);
        browser->setOpenExternalLinks(true);
        browser->resize(720, 560);
    }
    browser->setSource(QUrl::fromLocalFile(help));
    browser->show();
    browser->raise();
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
