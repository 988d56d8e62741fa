#pragma once

#include <QByteArray>
#include <QString>
#include <expected>

namespace korvex::mfa_service {

/// The recovery code that a help desk tells users who cannot use their authenticator app. `stored`
/// is the Base64 text that the device keeps: the six digits, encrypted with the public key. The
/// error is the reason, as a text for people.
std::expected<QString, QString> tellRecoveryCode(const QString& stored,
                                                 const QByteArray& privateKeyPem);

} // namespace korvex::mfa_service
