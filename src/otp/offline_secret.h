#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace korvex {
class UserRegistryData;
}

namespace korvex::otp {

// The offline secret of an account: the base32 text of its one-time password key. Stored in the
// account's registry data as the base64 text of what the system's data protection makes of it. A
// protected blob and a secret count only with 1 to 10000 bytes. Any thread may call.

/// The stored form of a secret; empty on any failure.
QString protectSecret(const QByteArray& secret);

/// The secret whose stored form this is. Nothing when the form is damaged, of another user or out
/// of bounds. The caller wipes it.
std::optional<QByteArray> unprotectSecret(const QString& stored);

/// The offline secret of the account; empty when there is none that can be read. The caller wipes
/// it.
QByteArray loadOtpSecret(const UserRegistryData* data);

/// Replaces the offline secret of the account. False, with the old one still there, when nothing
/// was stored.
bool storeOtpSecret(const UserRegistryData* data, const QByteArray& secret);

} // namespace korvex::otp
