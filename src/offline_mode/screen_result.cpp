#include "offline_mode/screen_result.h"

namespace korvex::offline_mode {

void ScreenResult::store(bool accepted)
{
    const std::lock_guard lock(m_mutex);
    m_result = accepted;
}

void ScreenResult::requestClose()
{
    const std::lock_guard lock(m_mutex);
    if (!m_result)
        m_result = false;
    m_closeRequested = true;
    m_changed.notify_all();
}

void ScreenResult::abandon()
{
    const std::lock_guard lock(m_mutex);
    m_abandoned = true;
    m_changed.notify_all();
}

bool ScreenResult::isAbandoned() const
{
    const std::lock_guard lock(m_mutex);
    return m_abandoned;
}

std::optional<bool> ScreenResult::waitForClose()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_closeRequested || m_abandoned; });
    return m_abandoned ? std::nullopt : m_result;
}

} // namespace korvex::offline_mode
