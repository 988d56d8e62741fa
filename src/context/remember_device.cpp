#include "context/remember_device.h"

#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/registry_keys.h"
#include "core/user_folder.h"
#include "core/verdict.h"
#include "rest/service_settings.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QThread>
#include <QTimer>
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

void revoke(const QString& valueName, const QString& current)
{
    if (current.isEmpty()) {
        logger().logWarning(1,
                            QStringLiteral("Cannot determine current parameter, skipping cleanup"));
        return;
    }
    const auto key = userKey();
    const QString previous = key ? key->readString(valueName).value_or(QString()) : QString();
    if (current == previous)
        return;
    // Deliberately before the deletion: one that fails is not tried again at the next sign-in.
    if (key)
        key->writeString(valueName, current);
    if (previous.isEmpty())
        return;
    logger().log(0,
                 QStringLiteral("Tracked parameter changed: '%1' -> '%2', clearing remember device")
                     .arg(previous, current));
    clearRememberedDevice(webStorageDirectory());
}

} // namespace

class DeviceRevocation::LookUp : public QThread
{
public:
    LookUp(const TrackedParameter& parameter, const AddressServices& services)
        : m_parameter(parameter)
        , m_services(services)
    {}
    ~LookUp() override { end(); }

    /// Gives up what is not found yet: ends the event loops in which the look-up waits for answers.
    void end()
    {
        quit();
        wait();
    }

    const QString& valueName() const { return m_parameter.valueName; }
    /// What was found; empty for nothing. Only for a thread that is finished.
    const QString& found() const { return m_found; }

private:
    void run() override { m_found = m_parameter.current(m_services); }

    const TrackedParameter& m_parameter;
    const AddressServices m_services;
    QString m_found;
};

DeviceRevocation::DeviceRevocation(qint32 policy, const AddressServices& services)
    : m_deadline(requestTimeout())
{
    const auto parameter = trackedParameters().find(policy);
    if (parameter == trackedParameters().end())
        return;
    m_lookUp = std::make_unique<LookUp>(parameter->second, services);
    m_lookUp->start();
}

DeviceRevocation::~DeviceRevocation() = default;

void DeviceRevocation::finish()
{
    if (!m_lookUp)
        return;
    QEventLoop loop;
    QObject::connect(m_lookUp.get(), &QThread::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(m_deadline.remainingTime(), &loop, &QEventLoop::quit);
    if (!m_lookUp->isFinished())
        loop.exec();
    m_lookUp->end();
    if (!verdictGiven())
        revoke(m_lookUp->valueName(), m_lookUp->found());
    m_lookUp.reset();
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
