#pragma once

#include <QByteArray>
#include <QString>
#include <expected>

namespace korvex::mfa_service {

/// What a help desk tells a user who cannot use his authenticator app: the six digits that his
/// device keeps, encrypted by the public key, as the Base64 text `stored`. On failure the reason,
/// for people.
std::expected<QString, QString> tellRecoveryCode(const QString& stored,
                                                 const QByteArray& privateKeyPem);

} // namespace korvex::mfa_service
