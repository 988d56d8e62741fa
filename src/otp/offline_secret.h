#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace korvex {
class UserRegistryData;
}

namespace korvex::otp {

// The offline secret of an account: the base32 text of its one-time password key. The system's data
// protection encrypts it, and the result is stored as base64 text in the account's registry data. A
// secret and its encrypted form have 1 to 10000 bytes each; others are refused. Any thread may call
// these functions.

/// The stored form of a secret; empty on any failure.
QString protectSecret(const QByteArray& secret);

/// The secret of a stored form. Nothing when the form is damaged, belongs to another user or is out
/// of bounds. The caller wipes the result.
std::optional<QByteArray> unprotectSecret(const QString& stored);

/// The offline secret of the account; empty when there is none or it cannot be read. The caller
/// wipes the result.
QByteArray loadOtpSecret(const UserRegistryData* data);

/// Replaces the offline secret of the account. False when it could not be stored; the old one then
/// stays.
bool storeOtpSecret(const UserRegistryData* data, const QByteArray& secret);

} // namespace korvex::otp
