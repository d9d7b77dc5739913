#include "ContactListView.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionViewItem>

ContactListView::ContactListView(QWidget* parent)
    : QTableView(parent)
{
}

bool ContactListView::onCheckBox(const QModelIndex& index, const QPoint& position) const
{
    if (!index.isValid() || index.column() != 0 || !(index.flags() & Qt::ItemIsUserCheckable)) {
        return false;
    }
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(index);
    option.features |= QStyleOptionViewItem::HasCheckIndicator;
    option.index = index;
    const QRect box = style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, this);
    return box.contains(position);
}

void ContactListView::toggle(const QModelIndex& index)
{
    const auto state = index.data(Qt::CheckStateRole).value<Qt::CheckState>();
    model()->setData(index, state == Qt::Checked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

void ContactListView::mousePressEvent(QMouseEvent* event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && onCheckBox(index, event->position().toPoint())) {
        m_pressedBox = index;
        event->accept();
        return;
    }
    QTableView::mousePressEvent(event);
}

void ContactListView::mouseReleaseEvent(QMouseEvent* event)
{
    if (m_pressedBox.isValid()) {
        const QModelIndex index = indexAt(event->position().toPoint());
        if (index == m_pressedBox && onCheckBox(index, event->position().toPoint())) {
            toggle(index);
        }
        m_pressedBox = QPersistentModelIndex();
        event->accept();
        return;
    }
    QTableView::mouseReleaseEvent(event);
}

void ContactListView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space && currentIndex().isValid()) {
        toggle(currentIndex().siblingAtColumn(0));
        event->accept();
        return;
    }
    QTableView::keyPressEvent(event);
}
