#include "NavigationHistory.h"

void NavigationHistory::PushHistory(const QString& address)
{
    m_backDisabled = m_entries.size() < 2;
    if (m_entries.size() < Capacity) {
        ++m_pos;
    } else {
        m_entries.removeFirst();
    }
    m_entries << address;
}

NavigationHistory::Step NavigationHistory::back()
{
    --m_pos;
    if (m_pos < 0) {
        m_backDisabled = true;
    }
    if (m_pos > m_entries.size() || m_pos > Capacity || m_pos < 1) {
        m_forwardDisabled = false;
        return {};
    }
    m_forwardDisabled = false;
    return {m_entries.at(m_pos - 1)};
}

NavigationHistory::Step NavigationHistory::forward()
{
    ++m_pos;
    if (m_pos == 0) {
        // From before the first entry the cursor skips 0.
        m_pos = 1;
    }
    if (m_pos > m_entries.size()) {
        m_forwardDisabled = true;
        return {};
    }
    m_backDisabled = false;
    // After several Backs the cursor may still stand before the first entry: no address then.
    if (m_pos < 1) {
        return {};
    }
    return {m_entries.at(m_pos - 1)};
}
