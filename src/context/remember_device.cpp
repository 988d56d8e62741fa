#include "context/remember_device.h"

#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/registry_keys.h"
#include "core/user_folder.h"

#include <QDir>
#include <QFile>
#include <map>
#include <optional>

namespace korvex {

namespace {

struct TrackedParameter
{
    QString (*current)(const AddressServices& services);
    QString valueName; ///< of the user's registry key, where the value last seen is kept
};

const std::map<qint32, TrackedParameter>& trackedParameters()
{
    static const std::map<qint32, TrackedParameter> parameters = {
        {1, {getPublicAsn, QStringLiteral("LastTransactionPublicASN")}},
        {2, {getPublicIp, QStringLiteral("LastTransactionPublicIP")}},
    };
    return parameters;
}

/// The key of the user that signs in. Not userRegistryData(), which takes an empty name for the
/// administrator's.
std::optional<platform::RegistryKey> userKey()
{
    const QString& sid = logonInput().sid;
    return sid.isEmpty() ? std::nullopt : std::optional(accountKey(sid));
}

} // namespace

void revokeRememberedDevice(qint32 policy, const AddressServices& services)
{
    const auto parameter = trackedParameters().find(policy);
    if (parameter == trackedParameters().end())
        return;
    const auto key = userKey();
    const QString current = parameter->second.current(services);
    if (current.isEmpty()) {
        logger().logWarning(1,
                            QStringLiteral("Cannot determine current parameter, skipping cleanup"));
        return;
    }
    const QString& name = parameter->second.valueName;
    const QString previous = key ? key->readString(name).value_or(QString()) : QString();
    if (current == previous)
        return;
    // Deliberately before the deletion: one that fails is not tried again at the next sign-in.
    if (key)
        key->writeString(name, current);
    if (previous.isEmpty())
        return;
    logger().log(0,
                 QStringLiteral("Tracked parameter changed: '%1' -> '%2', clearing remember device")
                     .arg(previous, current));
    clearRememberedDevice(webStorageDirectory());
}

bool clearRememberedDevice(const QString& storage)
{
    bool cleared = true;
    for (const QString& name : {QStringLiteral("Cookies"), QStringLiteral("Cookies-journal")}) {
        QFile file(QDir(storage).filePath(name));
        if (!file.exists() || file.remove())
            continue;
        logger().logWarning(
            0, QStringLiteral("Failed to remove '%1': %2").arg(name, file.errorString()));
        cleared = false;
    }
    return cleared;
}

} // namespace korvex
