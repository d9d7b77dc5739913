#include "ContactListView.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <QStyleOptionViewItem>

using namespace Qt::StringLiterals;

namespace {

// Column headings with at most one sort icon, drawn at the right end of its heading: an arrow
// pointing down for "DOWN", up for "UP", whatever the style's own sort indicator would show.
class SortIconHeader : public QHeaderView
{
public:
    explicit SortIconHeader(QWidget* parent)
        : QHeaderView(Qt::Horizontal, parent)
    {
    }

    void setIcon(int column, const QString& key)
    {
        m_column = column;
        m_key = key;
        viewport()->update();
    }

    QString icon(int column) const { return column == m_column ? m_key : QString(); }

    // Room for the icon beside the heading's text.
    static int iconSpace() { return IconSize + 2 * IconMargin; }

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override
    {
        // The heading leaves the painter clipped to nothing; its state is put back for the icon.
        painter->save();
        QHeaderView::paintSection(painter, rect, logicalIndex);
        painter->restore();
        const QString key = icon(logicalIndex);
        if (key.isEmpty()) {
            return;
        }
        QStyleOption arrow;
        arrow.initFrom(this);
        arrow.rect = QRect(rect.right() - IconSize - IconMargin, rect.center().y() - IconSize / 2, IconSize, IconSize);
        style()->drawPrimitive(key == u"DOWN"_s ? QStyle::PE_IndicatorArrowDown : QStyle::PE_IndicatorArrowUp, &arrow,
                               painter, this);
    }

    QSize sectionSizeFromContents(int logicalIndex) const override
    {
        QSize size = QHeaderView::sectionSizeFromContents(logicalIndex);
        size.rwidth() += iconSpace();
        return size;
    }

private:
    static constexpr int IconSize = 9;
    static constexpr int IconMargin = 4;
    int m_column = -1;
    QString m_key;
};

} // namespace

ContactListView::ContactListView(QWidget* parent)
    : QTableView(parent)
{
    setHorizontalHeader(new SortIconHeader(this));
}

void ContactListView::setSortIcon(int column, const QString& key)
{
    static_cast<SortIconHeader*>(horizontalHeader())->setIcon(column, key);
}

QString ContactListView::sortIcon(int column) const
{
    return static_cast<const SortIconHeader*>(horizontalHeader())->icon(column);
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
