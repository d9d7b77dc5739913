#pragma once

#include <QTableView>

// The contact list: a click on a row's check box toggles that box without touching the
// highlighted rows, so that ticking one box of a highlighted set can apply to the whole set.
// Its column headings carry the sort icons "DOWN" (a descending sort) and "UP" (ascending).
class ContactListView : public QTableView
{
    Q_OBJECT

public:
    explicit ContactListView(QWidget* parent = nullptr);

    // Clears every column's icon and gives one column the icon of this key ("DOWN" or "UP").
    void setSortIcon(int column, const QString& key);
    // The icon key of a column, empty when it has none.
    QString sortIcon(int column) const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool onCheckBox(const QModelIndex& index, const QPoint& position) const;
    void toggle(const QModelIndex& index);

    QPersistentModelIndex m_pressedBox;
};
