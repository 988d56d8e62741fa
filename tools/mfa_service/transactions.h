#pragma once

#include <QString>
#include <map>
#include <optional>

namespace korvex::mfa_service {

/// The sign-ins that are under way. One lives for five minutes from its opening, ends with the
/// fifth wrong code, takes one right code and gives one access token, which is good once.
/// Times are seconds since 1970. Not thread-safe.
class Transactions
{
public:
    struct CodeResult
    {
        QString accessToken{}; ///< empty when the code was wrong
        int attemptsLeft = 0;
    };

    /// Who has signed in, and from what device.
    struct SignedIn
    {
        QString user{};
        QString heldSecret{}; ///< the fingerprint of the offline secret that the device holds
    };

    /// Opens a transaction and returns its id, 32 hexadecimal digits.
    QString open(const SignedIn& who, qint64 now);

    /// Who signs in; nothing unless the transaction is waiting for a code.
    std::optional<QString> userOf(const QString& id, qint64 now);

    /// Notes that the user of a waiting transaction has typed a code. After the last attempt the
    /// transaction is gone.
    CodeResult enterCode(const QString& id, bool codeIsRight);

    /// Uses up an access token; nothing for an unknown, used or expired one.
    std::optional<SignedIn> redeem(const QString& accessToken, qint64 now);

private:
    struct Transaction
    {
        SignedIn who{};
        QString accessToken{};
        qint64 openedAt = 0;
        int wrongCodes = 0;
    };

    void dropExpired(qint64 now);

    std::map<QString, Transaction> m_transactions; ///< by id
};

/// Random bytes that are good enough for keys. Ends the program on failure.
QByteArray randomBytes(int count);

} // namespace korvex::mfa_service
