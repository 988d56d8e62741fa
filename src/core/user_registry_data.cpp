#include "core/user_registry_data.h"

#include "core/account_sid.h"
#include "core/log.h"
#include "core/logon_input.h"
#include "core/settings.h"

#include <mutex>

namespace korvex {

namespace {

std::mutex currentMutex;
std::shared_ptr<const UserRegistryData> currentData;

} // namespace

UserRegistryData::UserRegistryData(const QString& account)
{
    const QString name = account.isEmpty() ? QStringLiteral("Administrator") : account;
    const QString sid = sidOf(name);
    if (sid.isEmpty()) {
        logger().logWarning(
            1, QStringLiteral("UserRegistryData: Local cache won't be used for '%1'").arg(name));
        return;
    }
    m_key.emplace(dataKey().path() + QLatin1Char('\\') + sid);
}

std::shared_ptr<const UserRegistryData> userRegistryData()
{
    const std::lock_guard lock(currentMutex);
    if (!currentData)
        currentData = std::make_shared<const UserRegistryData>(logonInput().user);
    return currentData;
}

void forgetUserRegistryData()
{
    const std::lock_guard lock(currentMutex);
    currentData.reset();
}

} // namespace korvex
