#pragma once

#include <QString>

namespace korvex {

/// The base URL of the MFA service: the registry value korvexApiServer, or the service's default
/// endpoint (a build setting) when the value is absent. Paths are appended unchanged.
QString apiServer();

/// How long an answer of the service may take, in milliseconds: the registry value RequestTimeout,
/// or 20000 when it is absent or not positive.
int requestTimeout();

} // namespace korvex
