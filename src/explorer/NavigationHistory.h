#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The addresses the user has entered in the main window, oldest first and at most ten, with the
// cursor that Back and Forward move. It also says when the Back and Forward buttons are greyed:
// Back comes alive one entry late, as the count is looked at before an entry is added.
class NavigationHistory
{
public:
    // A step of Back or Forward: the address to show, if the cursor landed on one.
    struct Step
    {
        std::optional<QString> address;
    };

    void PushHistory(const QString& address);
    Step back();
    Step forward();

    bool backDisabled() const { return m_backDisabled; }
    bool forwardDisabled() const { return m_forwardDisabled; }
    int HistoryPos() const { return m_pos; }
    const QStringList& entries() const { return m_entries; }

private:
    static constexpr int Capacity = 10;

    QStringList m_entries;
    int m_pos = 0;
    bool m_backDisabled = true;
    bool m_forwardDisabled = true;
};
