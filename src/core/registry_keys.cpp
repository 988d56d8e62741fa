#include "core/registry_keys.h"

namespace korvex {

namespace {

platform::RegistryKey productKey(const QString& subKey)
{
    return platform::RegistryKey(
        QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Korvex\\WindowsLogon") + subKey);
}

} // namespace

const platform::RegistryKey& mainKey()
{
    static const platform::RegistryKey key = productKey(QString());
    return key;
}

const platform::RegistryKey& dataKey()
{
    static const platform::RegistryKey key = productKey(QStringLiteral("\\Data"));
    return key;
}

const platform::RegistryKey& cacheKey()
{
    static const platform::RegistryKey key = productKey(QStringLiteral("\\Cache"));
    return key;
}

platform::RegistryKey accountKey(const QString& sid)
{
    return platform::RegistryKey(dataKey().path() + QLatin1Char('\\') + sid);
}

} // namespace korvex
