#pragma once

#include <QList>
#include <QObject>

class ContactSelection;
class ContactTable;
class ContactsPage;
class FrmMailMerge;
struct FieldMap;
struct WizardMemoryValues;

// The contact page of the merge wizard (page 1): the list of the contacts read, their ticks,
// "Select/UnSelect All", the sort by a column and the columns' order; and the recipient lists
// of the composer, made from the ticked contacts.
class ContactsController : public QObject
{
    Q_OBJECT

public:
    explicit ContactsController(FrmMailMerge& wizard);

    // The ticked contacts, in list order, into the composer's recipient lists (and the
    // attachment's, with an attachment); clears the mark that asked for it.
    void FillRecipientLists();
    // The custom columns 14 to 16 of the contact list get no width (sources 0 and 1 have none).
    void hideCustomColumns();
    // The custom columns take the map's names and a width of 1440 twips.
    void ApplyCustomHeadings(const FieldMap& map);

    void loadMemory(const WizardMemoryValues& values);
    void saveMemory(WizardMemoryValues& values) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void connectContactsPage();
    void LsvSelection_ItemCheck(int position);
    void lblSel_Click();
    void LsvSelection_ColumnClick(int column);
    void fitStandardColumns();
    void applyColumnPositions(const QList<int>& positions);
    QList<int> columnPositions() const;

    FrmMailMerge& m_wizard;
    ContactsPage* m_contacts;
    ContactTable& m_table;
    ContactSelection& m_selection;
};
