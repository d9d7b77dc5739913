#include "FrmPick.h"

#include "core/Dialogs.h"
#include "core/ListSeparator.h"
#include "core/MessageBoxes.h"
#include "core/WaitCursor.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

std::function<void(FrmPick&)>& nextAnswer()
{
    static std::function<void(FrmPick&)> answer;
    return answer;
}

// The thirteen pictures of the tree, by index: a theme icon with a picture of the style behind it.
QList<QIcon> loadImages()
{
    const std::array<std::pair<const char16_t*, QStyle::StandardPixmap>, 13> pictures = {
        {{u"x-office-calendar", QStyle::SP_FileIcon},           // 0 appointments
         {u"x-office-calendar", QStyle::SP_FileIcon},           // 1 "Calendar"
         {u"user-trash", QStyle::SP_TrashIcon},                 // 2 "Deleted Items"
         {u"x-office-address-book", QStyle::SP_DirHomeIcon},    // 3 contacts
         {u"accessories-text-editor", QStyle::SP_FileIcon},     // 4 "Drafts"
         {u"mail-folder-inbox", QStyle::SP_DirOpenIcon},        // 5 the inbox
         {u"folder", QStyle::SP_DirIcon},                       // 6 mail and other folders
         {u"x-office-document", QStyle::SP_FileIcon},           // 7 journal
         {u"drive-harddisk", QStyle::SP_DriveHDIcon},           // 8 a store
         {u"mail-folder-sent", QStyle::SP_DirLinkIcon},         // 9 "Sent Items"
         {u"view-task", QStyle::SP_FileDialogDetailedView},     // 10 tasks
         {u"text-x-generic", QStyle::SP_FileIcon},              // 11 notes
         {u"mail-folder-outbox", QStyle::SP_DirLinkOpenIcon}}}; // 12 the outbox
    QList<QIcon> images;
    for (const auto& [theme, fallback] : pictures) {
        images << QIcon::fromTheme(QString::fromUtf16(theme), QApplication::style()->standardIcon(fallback));
    }
    return images;
}

QString nameOf(const std::optional<MailFolder>& folder)
{
    return folder ? folder->name : QString();
}

} // namespace

FrmPick::FrmPick(QWidget* parent)
    : QDialog(parent)
    , m_namespace(MailClient::attach())
    , ImageList1(loadImages())
{
    setObjectName(u"FrmPick"_s);
    setWindowTitle(u"Select Contact Folder"_s);
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(u"Contact Folders :"_s, this);
    trvFolders = new QTreeWidget(this);
    trvFolders->setObjectName(u"trvFolders"_s);
    trvFolders->setHeaderHidden(true);
    trvFolders->setSelectionMode(QAbstractItemView::SingleSelection);
    label->setBuddy(trvFolders);
    cmdOk = new QPushButton(u"OK"_s, this);
    cmdOk->setObjectName(u"cmdOk"_s);
    cmdOk->setDefault(true);
    CmdCancel = new QPushButton(u"Cancel"_s, this);
    CmdCancel->setObjectName(u"CmdCancel"_s);
    cmdAddDataFile = new QPushButton(u"Add Data File..."_s, this);
    cmdAddDataFile->setObjectName(u"cmdAddDataFile"_s);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdAddDataFile);
    buttons->addStretch();
    buttons->addWidget(cmdOk);
    buttons->addWidget(CmdCancel);
    layout->addWidget(label);
    layout->addWidget(trvFolders);
    layout->addLayout(buttons);
    resize(340, 360);
    connect(cmdOk, &QPushButton::clicked, this, &FrmPick::cmdOk_Click);
    connect(CmdCancel, &QPushButton::clicked, this, &FrmPick::CmdCancel_Click);
    connect(cmdAddDataFile, &QPushButton::clicked, this, &FrmPick::cmdAddDataFile_Click);
    connect(trvFolders, &QTreeWidget::itemDoubleClicked, this, &FrmPick::cmdOk_Click);
}

void FrmPick::LoadTreeSpecific()
{
    trvFolders->clear();
    m_contactsName = nameOf(m_namespace->GetDefaultFolder(DefaultFolder::Contacts));
    m_inboxName = nameOf(m_namespace->GetDefaultFolder(DefaultFolder::Inbox));
    m_outboxName = nameOf(m_namespace->GetDefaultFolder(DefaultFolder::Outbox));
    for (const MailFolder& store : m_namespace->stores()) {
        auto* node = new QTreeWidgetItem(trvFolders, {store.name});
        node->setData(0, KeyRole, store.entryId);
        node->setData(0, ImageRole, 8);
        node->setIcon(0, ImageList1.at(8));
        AddSubFolders(node, store);
        node->setExpanded(true);
    }
    trvFolders->setFocus();
}

void FrmPick::AddSubFolders(QTreeWidgetItem* parentNode, const MailFolder& parent)
{
    for (const MailFolder& folder : parent.folders) {
        if (folder.defaultItemType != MailItemType::Contact) {
            continue;
        }
        auto* node = new QTreeWidgetItem(parentNode, {folder.name});
        node->setData(0, KeyRole, folder.entryId);
        node->setData(0, TagRole, folder.defaultItemType);
        // Names decide, not identities: any folder called like the default contacts folder or
        // the inbox is selected, the last one found keeping the selection.
        const bool contactsName = !m_contactsName.isEmpty() && folder.name == m_contactsName;
        const bool inboxName = !m_inboxName.isEmpty() && folder.name == m_inboxName;
        if (contactsName || inboxName) {
            trvFolders->setCurrentItem(node);
        }
        const int image = imageOf(folder);
        node->setData(0, ImageRole, image);
        node->setIcon(0, ImageList1.at(image));
        AddSubFolders(node, folder);
        if (contactsName || inboxName || (!m_contactsName.isEmpty() && folder.parentName == m_contactsName)) {
            node->setExpanded(true);
        }
    }
}

int FrmPick::imageOf(const MailFolder& folder) const
{
    int image = 6;
    switch (folder.defaultItemType) {
    case MailItemType::Appointment:
        image = 0;
        break;
    case MailItemType::Contact:
        image = 3;
        break;
    case MailItemType::Journal:
        image = 7;
        break;
    case MailItemType::Note:
        image = 11;
        break;
    case MailItemType::Task:
        image = 10;
        break;
    default:
        break;
    }
    // These names choose only the picture; they exclude nothing.
    const std::array<std::pair<QString, int>, 6> byName = {{{m_inboxName, 5},
                                                            {m_outboxName, 12},
                                                            {u"Calendar"_s, 1},
                                                            {u"Deleted Items"_s, 2},
                                                            {u"Sent Items"_s, 9},
                                                            {u"Drafts"_s, 4}}};
    for (const auto& [name, picture] : byName) {
        if (!name.isEmpty() && folder.name == name) {
            image = picture;
        }
    }
    return image;
}

void FrmPick::cmdOk_Click()
{
    QTreeWidgetItem* node = trvFolders->currentItem();
    const QString key = node == nullptr ? QString() : node->data(0, KeyRole).toString();
    const std::optional<MailFolder> folder = m_namespace->GetFolderFromID(key);
    if (!folder || folder->defaultItemType != MailItemType::Contact) {
        MessageBoxes::information(u"Please Select a Contact Folder"_s);
        return;
    }
    PickResult = node->text(0) + ListSeparator() + key + ListSeparator() + node->data(0, TagRole).toString();
    accept();
}

void FrmPick::CmdCancel_Click()
{
    PickResult.clear();
    reject();
}

void FrmPick::cmdAddDataFile_Click()
{
    const QString path = Dialogs::ShowFileDialog(u"Outlook Data Files (*.pst;*.ost)|*.pst;*.ost"_s, {}, this);
    if (path.isEmpty()) {
        return;
    }
    Status added;
    {
        const WaitCursor wait;
        added = MailClient::addDataFile(path);
        if (added.ok()) {
            m_namespace = MailClient::attach();
            LoadTreeSpecific();
        }
    }
    if (!added.ok()) {
        MessageBoxes::show({added.error().message, u"Quillbay+"_s, MessageButtons::Ok, MessageIcon::Critical});
    }
}

void FrmPick::showModal()
{
    if (nextAnswer()) {
        const std::function<void(FrmPick&)> answer = std::exchange(nextAnswer(), {});
        answer(*this);
        return;
    }
    exec();
}

void FrmPick::answerNextWith(std::function<void(FrmPick&)> answer)
{
    nextAnswer() = std::move(answer);
}
