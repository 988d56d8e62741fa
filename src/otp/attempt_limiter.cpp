#include "otp/attempt_limiter.h"

#include "core/settings.h"

#include <algorithm>
#include <utility>

namespace korvex::otp {

AttemptLimiter::AttemptLimiter(utils::TimeProvider clock)
    : m_clock(std::move(clock))
{}

bool AttemptLimiter::tryAttempt()
{
    if (isBelowLimit()) {
        ++m_attempts;
        return true;
    }
    if (!m_locked) {
        m_lockStart = now();
        m_locked = true;
        ++m_attempts;
        return true;
    }
    if (secondsToWait() > 0)
        return false;
    m_attempts = 1;
    m_locked = false;
    return true;
}

qint64 AttemptLimiter::secondsToWait() const
{
    if (!m_locked || isBelowLimit())
        return 0;
    // A clock that was set back neither ends the wait nor makes it longer than a full one.
    const qint64 elapsed = std::max<qint64>(now() - m_lockStart, 0);
    const qint64 wait = readNumber64(Setting::OfflineTotpTimeBetweenAttempts);
    return elapsed < wait ? wait - elapsed : 0;
}

void AttemptLimiter::reset()
{
    m_attempts = 0;
    m_locked = false;
}

bool AttemptLimiter::isBelowLimit() const
{
    return qint64{m_attempts} + 1 < readNumber(Setting::OfflineTotpMaxAttempts);
}

qint64 AttemptLimiter::now() const
{
    return static_cast<qint64>(m_clock());
}

} // namespace korvex::otp
