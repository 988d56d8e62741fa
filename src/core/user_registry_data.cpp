#include "core/user_registry_data.h"

#include "core/account_sid.h"
#include "core/log.h"
#include "core/logon_input.h"
#include "core/registry_keys.h"

namespace korvex {

UserRegistryData::UserRegistryData(const LogonInput& input)
{
    const bool nobody = input.user.isEmpty();
    const QString account = nobody ? QStringLiteral("Administrator") : input.user;
    const QString sid = nobody ? sidOf(account) : input.sid;
    if (sid.isEmpty()) {
        logger().logWarning(
            1, QStringLiteral("UserRegistryData: Local cache won't be used for '%1'").arg(account));
        return;
    }
    m_key = accountKey(sid);
}

} // namespace korvex
