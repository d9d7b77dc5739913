#pragma once

#include <QTableView>

// The contact list: a click on a row's check box toggles that box without touching the
// highlighted rows, so that ticking one box of a highlighted set can apply to the whole set.
class ContactListView : public QTableView
{
    Q_OBJECT

public:
    explicit ContactListView(QWidget* parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool onCheckBox(const QModelIndex& index, const QPoint& position) const;
    void toggle(const QModelIndex& index);

    QPersistentModelIndex m_pressedBox;
};
