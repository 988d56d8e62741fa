#pragma once

#include "core/non_movable_copyable.h"

#include <QNetworkProxy>
#include <optional>

namespace korvex {

/// The HTTP proxy that the registry sets; nothing when proxyMode is 0 or absent, and, with a
/// warning in the log, when host or port is missing. The password is never logged.
std::optional<QNetworkProxy> configuredProxy();

/// The application's proxy, of REST client and web engine alike, for the life of the object. (Qt
/// asks it neither for loopback nor, in the engine, for host names without a dot.)
/// Afterwards the network is used as it is by default: the application outlives its sign-ins, and
/// what one of them set must not serve the next. One at a time, on the GUI thread.
class ApplicationProxy : private NonMovableCopyable
{
public:
    explicit ApplicationProxy(const QNetworkProxy& proxy);
    ~ApplicationProxy();

private:
    bool m_systemConfiguration; ///< whether Qt asked the system for proxies before
};

} // namespace korvex
