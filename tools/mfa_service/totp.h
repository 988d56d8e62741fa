#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace korvex::mfa_service {

/// The time-based one-time code of RFC 6238: HMAC-SHA-1, six digits, steps of 30 s.
QString totpCode(const QByteArray& secret, qint64 unixSeconds);

/// True for the code of the current step, the one before and the one after it (RFC 6238, 5.2).
bool totpMatches(const QByteArray& secret, qint64 unixSeconds, const QString& code);

/// Base32 (RFC 4648) as authenticator apps show it: any letter case, spaces and padding ignored.
/// Nothing for other characters and for an empty secret.
std::optional<QByteArray> decodeBase32(const QString& text);

/// Base32 in upper case, without padding.
QByteArray encodeBase32(const QByteArray& bytes);

} // namespace korvex::mfa_service
