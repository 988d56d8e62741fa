#include "core/account_sid.h"

#include "core/log.h"
#include "platform/accounts.h"

namespace korvex {

QString sidOf(const QString& account)
{
    const auto sid = platform::accountSid(account);
    if (sid) {
        logger().log(2, QStringLiteral("Using SID '%1' for user '%2'").arg(*sid, account));
        return *sid;
    }
    if (sid.error() == platform::SidError::NotConvertible)
        logger().log(0, QStringLiteral("Could not convert SID for user '%1'").arg(account));
    else
        logger().logWarning(1, QStringLiteral("Could not verify SID for user '%1'").arg(account));
    return {};
}

} // namespace korvex
