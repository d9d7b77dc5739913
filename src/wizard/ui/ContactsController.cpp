#include "ContactsController.h"

#include "ContactListView.h"
#include "FrmMailMerge.h"
#include "ProgressPanel.h"
#include "WizardPages.h"
#include "composer/ComposePage.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/FieldMap.h"
#include "contacts/MergeFieldTable.h"
#include "core/TextUtil.h"
#include "core/Twips.h"
#include "wizard/WizardMemory.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QTabWidget>

#include <numeric>

using namespace Qt::StringLiterals;

ContactsController::ContactsController(FrmMailMerge& wizard)
    : QObject(&wizard)
    , m_wizard(wizard)
    , m_contacts(wizard.contactsPage())
    , m_table(wizard.contactTable())
    , m_selection(wizard.selection())
{
    m_contacts->LsvSelection->setModel(&m_table);
    fitStandardColumns();
    connectContactsPage();
}

bool ContactsController::eventFilter(QObject* watched, QEvent* event)
{
    // A visit to the list may change the ticks: the recipient lists are then made again.
    if (watched == m_contacts->LsvSelection && event->type() == QEvent::FocusIn) {
        m_wizard.changes().recipients = true;
    }
    return QObject::eventFilter(watched, event);
}

void ContactsController::loadMemory(const WizardMemoryValues& values)
{
    applyColumnPositions(values.columnPositions);
}

void ContactsController::saveMemory(WizardMemoryValues& values) const
{
    values.columnPositions = columnPositions();
}

void ContactsController::connectContactsPage()
{
    connect(&m_table, &ContactTable::checkToggled, this, &ContactsController::LsvSelection_ItemCheck);
    connect(m_contacts->lblSel, &QLabel::linkActivated, this, &ContactsController::lblSel_Click);
    connect(m_contacts->LsvSelection->horizontalHeader(), &QHeaderView::sectionClicked, this,
            &ContactsController::LsvSelection_ColumnClick);
    m_contacts->LsvSelection->installEventFilter(this);
}

void ContactsController::LsvSelection_ItemCheck(int position)
{
    QList<int> highlighted;
    const QModelIndexList selected = m_contacts->LsvSelection->selectionModel()->selectedRows();
    for (const QModelIndex& index : selected) {
        highlighted << index.row() + 1;
    }
    const QList<int> dropped = m_selection.LsvSelection_ItemCheck(position, highlighted);
    if (!dropped.isEmpty()) {
        m_contacts->LsvSelection->clearSelection();
    }
}

void ContactsController::lblSel_Click()
{
    m_wizard.changes().recipients = true;
    m_selection.lblSel_Click();
}

void ContactsController::LsvSelection_ColumnClick(int column)
{
    const bool descending = m_selection.LsvSelection_ColumnClick(column);
    m_contacts->LsvSelection->setSortIcon(column, descending ? u"DOWN"_s : u"UP"_s);
}

void ContactsController::fitStandardColumns()
{
    // Wide enough for each heading and its sort icon; the address column a little wider.
    QTableView* list = m_contacts->LsvSelection;
    for (int cell = 0; cell < MergeFieldTable::FirstCustomCell; ++cell) {
        list->setColumnWidth(cell, qMax(list->columnWidth(cell), list->horizontalHeader()->sectionSizeHint(cell)));
    }
    list->setColumnWidth(0, qMax(list->columnWidth(0), Twips::toPixels(3000)));
}

void ContactsController::applyColumnPositions(const QList<int>& positions)
{
    // Placed in the order of their positions, so that every column lands where it was left.
    QList<int> columns(positions.size());
    std::iota(columns.begin(), columns.end(), 0);
    std::stable_sort(columns.begin(), columns.end(),
                     [&positions](int a, int b) { return positions.at(a) < positions.at(b); });
    QHeaderView* header = m_contacts->LsvSelection->horizontalHeader();
    for (const int column : columns) {
        header->moveSection(header->visualIndex(column), positions.at(column) - 1);
    }
}

QList<int> ContactsController::columnPositions() const
{
    QList<int> positions;
    const QHeaderView* header = m_contacts->LsvSelection->horizontalHeader();
    for (int column = 0; column < MergeFieldTable::CellCount; ++column) {
        positions << header->visualIndex(column) + 1;
    }
    return positions;
}

void ContactsController::FillRecipientLists()
{
    m_wizard.changes().recipients = false;
    m_wizard.composePage()->CboPTo->clear();
    m_wizard.composePage()->CboPIndex->clear();
    const bool attachment = m_wizard.templatePage()->ChkAttachment->isChecked();
    m_wizard.composePage()->G1_Tab->setTabEnabled(3, attachment);
    if (attachment) {
        m_wizard.composePage()->cboPAtTo->clear();
        m_wizard.composePage()->CboPAtIndex->clear();
    }
    m_wizard.progress()->BeginProgress(m_table.count());
    for (int position = 1; position <= m_table.count(); ++position) {
        if (m_table.at(position).checked) {
            const QString address = m_table.cell(position, 0);
            m_wizard.composePage()->CboPTo->addItem(address);
            m_wizard.composePage()->CboPIndex->addItem(QString::number(position));
            if (attachment) {
                m_wizard.composePage()->cboPAtTo->addItem(address);
                m_wizard.composePage()->CboPAtIndex->addItem(QString::number(position));
            }
        }
        m_wizard.progress()->advance();
    }
    m_wizard.composePage()->CboPTo->setCurrentIndex(-1);
    m_wizard.composePage()->cboPAtTo->setCurrentIndex(-1);
    m_wizard.progress()->finish();
}

void ContactsController::hideCustomColumns()
{
    for (int cell = MergeFieldTable::FirstCustomCell; cell < MergeFieldTable::CellCount; ++cell) {
        m_contacts->LsvSelection->setColumnWidth(cell, 0);
    }
}

void ContactsController::ApplyCustomHeadings(const FieldMap& map)
{
    for (int k = 0; k < 3; ++k) {
        const int cell = MergeFieldTable::FirstCustomCell + k;
        m_table.setCustomHeading(cell, TextUtil::trimSpaces(map.customNames[k]));
        m_contacts->LsvSelection->setColumnHidden(cell, false);
        m_contacts->LsvSelection->setColumnWidth(cell, Twips::toPixels(1440));
    }
}
