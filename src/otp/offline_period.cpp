#include "otp/offline_period.h"

#include "core/settings.h"
#include "core/user_registry_data.h"

namespace korvex::otp {

namespace {

constexpr qint64 kDay = 24 * 60 * 60;

QString acceptedName()
{
    return QStringLiteral("LastOnlineSignIn");
}

QString seenName()
{
    return QStringLiteral("LastTimeSeen");
}

} // namespace

void noteOnlineSignIn(const UserRegistryData& data, qint64 now)
{
    if (data.key())
        data.key()->writeNumber64(acceptedName(), now);
    noteTimeSeen(data, now);
}

void noteTimeSeen(const UserRegistryData& data, qint64 now)
{
    if (data.key())
        data.key()->writeNumber64(seenName(), now);
}

std::optional<int> offlineDaysLeft(const UserRegistryData& data, qint64 now)
{
    const int limit = readNumber(Setting::OfflineMaxDays);
    if (limit <= 0)
        return std::nullopt;
    const auto accepted = data.key() ? data.key()->readNumber64(acceptedName()) : std::nullopt;
    const auto seen = data.key() ? data.key()->readNumber64(seenName()) : std::nullopt;
    if (!accepted || !seen || *accepted < 0 || now < *accepted || now < *seen)
        return 0;
    const qint64 passed = (now - *accepted) / kDay;
    return static_cast<int>(passed >= limit ? 0 : limit - passed);
}

} // namespace korvex::otp
