#include "context/proxy_settings.h"

#include "core/log.h"
#include "core/settings.h"

namespace korvex {

std::optional<QNetworkProxy> configuredProxy()
{
    if (readNumber(Setting::ProxyMode) == 0)
        return std::nullopt;
    const QString host = readString(Setting::ProxyHost);
    const auto port = static_cast<quint32>(readNumber(Setting::ProxyPort));
    // Logged before any check, so that an incomplete configuration can be seen.
    logger().log(2, QStringLiteral("Proxy address: ") + host + QLatin1Char(':') +
                        QString::number(port));
    if (host.isEmpty()) {
        logger().logWarning(0,
                            QStringLiteral("Invalid proxy configuration, 'proxyHost' not defined"));
        return std::nullopt;
    }
    // The lower bits of a number that is no port must not name another port.
    if (port == 0 || port > 65535) {
        logger().logWarning(0,
                            QStringLiteral("Invalid proxy configuration, 'proxyPort' not defined"));
        return std::nullopt;
    }
    QNetworkProxy proxy(QNetworkProxy::HttpProxy, host, static_cast<quint16>(port));
    if (const QString user = readString(Setting::ProxyUsername); !user.isEmpty())
        proxy.setUser(user);
    if (const QString password = readString(Setting::ProxyPassword); !password.isEmpty())
        proxy.setPassword(password);
    return proxy;
}

ApplicationProxy::ApplicationProxy(const QNetworkProxy& proxy)
    : m_systemConfiguration(QNetworkProxyFactory::usesSystemConfiguration())
{
    // The web engine would go on asking the system.
    QNetworkProxyFactory::setUseSystemConfiguration(false);
    QNetworkProxy::setApplicationProxy(proxy);
}

ApplicationProxy::~ApplicationProxy()
{
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    QNetworkProxyFactory::setUseSystemConfiguration(m_systemConfiguration);
}

} // namespace korvex
