#include "AddressBookController.h"

#include "ContactsController.h"
#include "FrmMailMerge.h"
#include "FrmPick.h"
#include "ProgressPanel.h"
#include "SourceController.h"
#include "WizardPages.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/WabReader.h"
#include "core/CommonRoutines.h"
#include "core/ListSeparator.h"
#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "core/TextUtil.h"
#include "core/WaitCursor.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QToolButton>

using namespace Qt::StringLiterals;

AddressBookController::AddressBookController(FrmMailMerge& wizard, SourceController& sources)
    : QObject(&sources)
    , m_wizard(wizard)
    , m_sources(sources)
    , m_source(wizard.sourcePage())
    , m_progress(wizard.progress())
    , m_table(wizard.contactTable())
    , m_selection(wizard.selection())
{
    connect(m_source->CmdBrowse, &QToolButton::clicked, this, &AddressBookController::CmdBrowse_Click);
}

QString AddressBookController::BrowseAddressBook()
{
    m_sources.setMapImported(false);
    const QString chosen = m_sources.pickSourceFile(
        u"Address Books (*.wab;*.vcf)|*.wab;*.vcf|Windows Address Book (*.Wab)|*.wab|"
        u"vCard Files (*.vcf)|*.vcf"_s,
        TextUtil::trimSpaces(m_source->txtWabfile->text()), AddressBook::hasAddressBookExtension);
    if (chosen.isEmpty()) {
        return {};
    }
    m_source->txtWabfile->setText(chosen);
    FrmMailMerge::setTag(m_source->lblWabName, QString());
    return chosen;
}

void AddressBookController::ImportWabFile()
{
    QLineEdit* box = m_source->txtWabfile;
    if (box->text().isEmpty()) {
        MessageBoxes::information(u"Choose a Valid file!"_s);
        box->setFocus();
        return;
    }
    const auto closing = qScopeGuard([this] {
        m_progress->finish();
        m_selection.resetToRowCount();
    });
    if (FrmMailMerge::Tag(m_source->lblWabName) != box->text()) {
        const QString path = box->text();
        if (!AddressBook::hasAddressBookExtension(path)) {
            MessageBoxes::information(u"Choose a Valid file!"_s);
            return;
        }
        if (!FileExists(path)) {
            MessageBoxes::information(u"File Doesn't Exists"_s);
            return;
        }
        WaitCursor wait;
        const auto importing = m_sources.markImporting();
        m_table.clear();
        WabReader reader;
        if (const Status opened = reader.open(path); !opened.ok()) {
            // A damaged book says what is wrong with it; the wizard stays on its page.
            MessageBoxes::information(opened.error().message);
            return;
        }
        const int count = reader.count();
        m_progress->BeginProgress(count);
        if (count < 1) {
            MessageBoxes::show(
                {u"Contacts are not Available"_s, u"Quillbay+"_s, MessageButtons::OkCancel, MessageIcon::Information});
        } else {
            m_wizard.contactsController()->hideCustomColumns();
            // The bar's width is kept as a whole number of twips, rounded at each record: with
            // more than 8000 records a step rounds to nothing and the bar stands still.
            const double step = ProgressPanel::FullWidth / count;
            int width = 0;
            std::vector<Contact> rows;
            for (int k = 0; k < count; ++k) {
                reader.select(k);
                AddWabRow(reader, rows);
                width = qRound(width + step);
                m_progress->setWidth(width);
                if ((k + 1) % 200 == 0) {
                    m_table.appendRows(std::move(rows));
                    rows.clear();
                    QCoreApplication::processEvents();
                }
            }
            m_table.appendRows(std::move(rows));
        }
        reader.close();
        FrmMailMerge::setTag(m_source->lblWabName, box->text());
    }
    m_wizard.ShowPage(FrmMailMerge::Contacts);
}

void AddressBookController::AddWabRow(const WabReader& reader, std::vector<Contact>& rows)
{
    Contact row;
    row.cells = AddressBook::rowCells(reader);
    rows.push_back(std::move(row));
    m_wizard.changes().recipients = true;
}

void AddressBookController::ResolveDefaultContactFolder()
{
    // This reading of the remembered folder has an empty default, unlike the key's declaration.
    QLineEdit* box = m_source->txtContact;
    const SettingsStore& store = SettingsStore::instance();
    box->setText(store.GetSetting(QString::fromLatin1(Keys::ContactsFolderName.section),
                                  QString::fromLatin1(Keys::ContactsFolderName.key)));
    FrmMailMerge::setTag(box, store.GetSetting(QString::fromLatin1(Keys::ContactsEntryId.section),
                                               QString::fromLatin1(Keys::ContactsEntryId.key)));
    if (box->text().isEmpty()) {
        if (const std::optional<MailFolder> contacts =
                MailClient::attach()->GetDefaultFolder(DefaultFolder::Contacts)) {
            box->setText(contacts->name);
            FrmMailMerge::setTag(box, contacts->entryId);
        }
    }
}

void AddressBookController::CmdBrowse_Click()
{
    FrmPick pick(&m_wizard);
    {
        WaitCursor wait;
        pick.LoadTreeSpecific();
    }
    pick.showModal();
    if (!pick.PickResult.isEmpty()) {
        const QStringList parts = pick.PickResult.split(ListSeparator());
        FrmMailMerge::setTag(m_source->lblContact, m_source->txtContact->text());
        m_source->txtContact->setText(parts.value(0));
        FrmMailMerge::setTag(m_source->txtContact, parts.value(1));
    }
}

void AddressBookController::ImportOutlookFolder()
{
    QLineEdit* box = m_source->txtContact;
    std::optional<MailFolder> folder;
    int itemCount = -1;
    if (FrmMailMerge::Tag(m_source->lblContact) != box->text()) {
        const std::unique_ptr<MailNamespace> client = MailClient::attach();
        folder = client->GetFolderFromID(FrmMailMerge::Tag(box));
        if (!folder || TextUtil::trimSpaces(box->text()) != folder->name) {
            MessageBoxes::information(u"Please Choose a Contact Folder"_s);
            m_progress->finish();
            m_selection.resetToRowCount();
            return;
        }
        WaitCursor wait;
        const auto importing = m_sources.markImporting();
        Result<std::vector<MailContactItem>> items = client->items(folder->entryId);
        if (!items.ok()) {
            // An address book that cannot be read says why; the wizard stays on its page.
            MessageBoxes::information(items.error().message);
            m_selection.resetToRowCount();
            return;
        }
        itemCount = static_cast<int>(items->size());
        if (itemCount > 0) {
            ReadContactItems(items.value());
            FrmMailMerge::setTag(m_source->lblContact, box->text());
        }
    }
    if (itemCount != 0) {
        m_wizard.ShowPage(FrmMailMerge::Contacts);
        m_wizard.CmdBack()->setEnabled(true);
        m_wizard.changes().recipients = true;
    }
    m_progress->finish();
    if (folder && itemCount == 0) {
        MessageBoxes::information(u"No Items Available in "_s + folder->name + u" Folder"_s);
    }
    m_selection.resetToRowCount();
}

void AddressBookController::ReadContactItems(const std::vector<MailContactItem>& items)
{
    m_table.clear();
    m_progress->BeginProgress(static_cast<double>(items.size()));
    m_wizard.contactsController()->hideCustomColumns();
    QCoreApplication::processEvents();
    std::vector<Contact> rows;
    int done = 0;
    for (const MailContactItem& item : items) {
        // Mailing lists and other items are passed over, though they count in the progress.
        if (std::optional<Contact> row = MailClient::contactRow(item)) {
            rows.push_back(std::move(*row));
        }
        m_progress->advance();
        if (++done % 200 == 0) {
            m_table.appendRows(std::move(rows));
            rows.clear();
            QCoreApplication::processEvents();
        }
    }
    m_table.appendRows(std::move(rows));
}
