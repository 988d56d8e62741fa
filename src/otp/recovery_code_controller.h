#pragma once

#include "core/error.h"
#include "otp/recovery_public_key.h"

#include <QByteArray>
#include <QString>
#include <expected>

namespace korvex {

/// What can go wrong with a recovery code. The numbers are independent of ErrorCode.
enum class RecoveryCodeError : qint32 {
    NotStored = 0,
    NotEncrypted = 1,
    NoPublicKey = 2,
    InvalidPublicKey = 3,
    NoSalt = 4,
};

/// The stored form of a code: the base64 text of its raw RSA encryption under a public key in PEM
/// form, with the SecretKey setting as salt. The same code always gives the same text: the machine
/// cannot decrypt, so it checks a code by encrypting it again.
[[nodiscard]] std::expected<QString, KorvexError<RecoveryCodeError>>
encryptRecoveryCode(const QString& code, const QByteArray& publicKey = recoveryPublicKey());

/// The machine's recovery code, which only the holder of the private key can read. GUI thread.
class RecoveryCodeController
{
public:
    explicit RecoveryCodeController(QByteArray publicKey = recoveryPublicKey());

    /// Replaces the code by a new one of six digits. On failure logs the cause, keeps the old code
    /// and returns false.
    bool regenCode() const;

    /// Whether this is the code. A failure is logged.
    bool verifyCode(const QString& code) const;

private:
    QByteArray m_publicKey;
};

} // namespace korvex
