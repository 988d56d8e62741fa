#pragma once

#include "core/non_movable_copyable.h"

#include <condition_variable>
#include <mutex>
#include <optional>

namespace korvex::offline_mode {

/// What the offline screen tells the exit handler. Both share it, because the handler's thread is
/// detached and may outlive the screen. Any thread.
class ScreenResult : private NonMovableCopyable
{
public:
    /// The result of the last check. Does not wake the handler: a wrong code leaves the window
    /// open.
    void store(bool accepted);

    /// The window is to close. Without any check before, the result is false.
    void requestClose();

    /// The screen is torn down: from now on nothing of this sign-in may reach the application.
    void abandon();
    bool isAbandoned() const;

    /// Waits until the window is to close; the result, or nothing when the screen was torn down.
    std::optional<bool> waitForClose();

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<bool> m_result;
    bool m_closeRequested = false;
    bool m_abandoned = false;
};

} // namespace korvex::offline_mode
