#pragma once

#include "contacts/MailNamespace.h"

#include <QDialog>
#include <QIcon>
#include <QList>

#include <functional>
#include <memory>

class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// "Select Contact Folder": the modal choice of a contact folder of the mail client. The tree
// shows each store with, below it, the contact folders it holds; a folder of another kind is
// left out together with everything under it. OK on a contact folder leaves PickResult as its
// name, EntryID and DefaultItemType joined by the list separator; Cancel leaves it empty.
// "Add Data File..." adds an Outlook data file (.pst, .ost) as a store of its own and shows the
// tree again with it.
class FrmPick : public QDialog
{
    Q_OBJECT

public:
    // The data of a node: its key (the EntryID), its Tag (the DefaultItemType, none for a store)
    // and the index of its picture in ImageList1.
    static constexpr int KeyRole = Qt::UserRole;
    static constexpr int TagRole = Qt::UserRole + 1;
    static constexpr int ImageRole = Qt::UserRole + 2;

    // Form_Load: attaches to the mail client and holds its namespace for the dialog's lifetime.
    explicit FrmPick(QWidget* parent = nullptr);

    void LoadTreeSpecific();
    void cmdOk_Click();
    void CmdCancel_Click();
    void cmdAddDataFile_Click();

    // Shows the dialog modally; a test answers it before it opens with answerNextWith().
    void showModal();
    static void answerNextWith(std::function<void(FrmPick&)> answer);

    QString PickResult;
    QTreeWidget* trvFolders;
    QPushButton* cmdOk;
    QPushButton* CmdCancel;
    QPushButton* cmdAddDataFile;

private:
    void AddSubFolders(QTreeWidgetItem* parentNode, const MailFolder& parent);
    int imageOf(const MailFolder& folder) const;

    std::unique_ptr<MailNamespace> m_namespace;
    QList<QIcon> ImageList1;
    // The names of the default contacts folder, inbox and outbox ("" where there is none).
    QString m_contactsName;
    QString m_inboxName;
    QString m_outboxName;
};
