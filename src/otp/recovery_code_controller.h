#pragma once

#include "core/error.h"
#include "otp/recovery_public_key.h"

#include <QByteArray>
#include <QString>
#include <expected>

namespace korvex {

/// What can go wrong with a recovery code. The numbers are their own.
enum class RecoveryCodeError : qint32 {
    NotStored = 0,
    NotEncrypted = 1,
    NoPublicKey = 2,
    InvalidPublicKey = 3,
    NoSalt = 4,
};

/// What is stored for a code: the base64 text of its raw RSA encryption under a public key in PEM
/// form, with the SecretKey setting as salt. The same code gives the same text, on purpose: only so
/// can a code be checked by who cannot decrypt.
[[nodiscard]] std::expected<QString, KorvexError<RecoveryCodeError>>
encryptRecoveryCode(const QString& code, const QByteArray& publicKey = recoveryPublicKey());

/// The machine's recovery code, which only the holder of the private key can read. GUI thread.
class RecoveryCodeController
{
public:
    explicit RecoveryCodeController(QByteArray publicKey = recoveryPublicKey());

    /// Replaces the code by a new one of six digits. False, with the cause logged and the code
    /// before still in place, when that failed.
    bool regenCode() const;

    /// Whether this is the code. A failure is logged.
    bool verifyCode(const QString& code) const;

private:
    QByteArray m_publicKey;
};

} // namespace korvex
