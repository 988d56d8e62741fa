#pragma once

#include "otp/one_time_password.h"

namespace korvex::otp {

/// Limits how often codes may be tried: after OfflineTOTPMaxAttempts attempts the user has to wait
/// OfflineTOTPTimeBetweenAttempts seconds. The count is in memory only, so each sign-in starts at
/// zero.
class AttemptLimiter
{
public:
    explicit AttemptLimiter(utils::TimeProvider clock = utils::GetTimeProviderSec());

    /// Counts an attempt; false when it is refused. The attempt that reaches the limit is allowed
    /// and starts the wait.
    bool tryAttempt();

    /// Whether tryAttempt() would allow one now.
    bool canAttempt() const { return secondsToWait() == 0; }

    /// Seconds until an attempt is allowed, 0 when one is now.
    qint64 secondsToWait() const;

    /// Forgets all attempts.
    void reset();

private:
    bool isBelowLimit() const;
    qint64 now() const;

    qint32 m_attempts = 0;
    qint64 m_lockStart = 0; ///< seconds since 1970-01-01 UTC
    bool m_locked = false;
    utils::TimeProvider m_clock;
};

} // namespace korvex::otp
