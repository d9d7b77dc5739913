#pragma once

#include "contacts/MailNamespace.h"

#include <QObject>
#include <QString>

#include <vector>

class ContactSelection;
class ContactTable;
class FrmMailMerge;
class ProgressPanel;
class SourceController;
class SourcePage;
class WabReader;
struct Contact;

// The sources of the first page that go straight to the contact page, without the map page: the
// address book (.wab or .vcf) of the shared file panel, and the mail client's contact folder.
// The source page's controller owns it and lends it the import steps it shares.
class AddressBookController : public QObject
{
    Q_OBJECT

public:
    AddressBookController(FrmMailMerge& wizard, SourceController& sources);

    // The file dialog of the shared file panel for the address book; the book chosen, or
    // nothing when none was chosen or it is not an address book.
    QString BrowseAddressBook();
    // Next on the first page: fills the contact table at once from the book, in rows of AddWabRow.
    void ImportWabFile();
    // The folder the mail client's panel starts with.
    void ResolveDefaultContactFolder();
    // Next on the first page: fills the contact table at once from the folder's contacts.
    void ImportOutlookFolder();

private:
    void AddWabRow(const WabReader& reader, std::vector<Contact>& rows);
    void CmdBrowse_Click();
    void ReadContactItems(const std::vector<MailContactItem>& items);

    FrmMailMerge& m_wizard;
    SourceController& m_sources;
    SourcePage* m_source;
    ProgressPanel* m_progress;
    ContactTable& m_table;
    ContactSelection& m_selection;
};
