#pragma once

#include <QtGlobal>
#include <optional>

namespace korvex {
class UserRegistryData;
}

namespace korvex::otp {

// For how long a user may sign in offline: OfflineMaxDays days after the last sign-in that the
// service accepted. Times are seconds since 1970-01-01 UTC, kept beside the user's offline secret.

/// Notes that the service has accepted the user.
void noteOnlineSignIn(const UserRegistryData& data, qint64 now);

/// Notes how far the time has come. A clock that is behind it later was set back.
void noteTimeSeen(const UserRegistryData& data, qint64 now);

/// Days that are left, the last one counted whole; 0 when the time is over, when no accepted
/// sign-in is known, and when the clock is behind a time that was noted before. Nothing without a
/// limit.
std::optional<int> offlineDaysLeft(const UserRegistryData& data, qint64 now);

} // namespace korvex::otp
