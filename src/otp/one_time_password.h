#pragma once

#include <QByteArray>
#include <functional>
#include <optional>

namespace korvex::otp::utils {

/// Computes the truncated value of RFC 4226 section 5.3 (31 bits) from a key and a message; nothing
/// when either is empty.
using HmacAlgorithm =
    std::function<std::optional<quint32>(const QByteArray& key, const QByteArray& message)>;

/// Whole seconds since 1970-01-01 UTC.
using TimeProvider = std::function<quint64()>;

/// HMAC-SHA1, dynamically truncated.
HmacAlgorithm GetHMACSha1Algorithm();

/// The system's clock.
TimeProvider GetTimeProviderSec();

} // namespace korvex::otp::utils
