#include "transactions.h"

#include <algorithm>
#include <openssl/rand.h>

namespace korvex::mfa_service {

namespace {

constexpr qint64 kLifetimeSeconds = 5 * 60;
constexpr int kAttempts = 5;
constexpr int kIdBytes = 16;
constexpr int kAccessTokenBytes = 32;

QString randomHex(int bytes)
{
    return QString::fromLatin1(randomBytes(bytes).toHex());
}

} // namespace

QByteArray randomBytes(int count)
{
    QByteArray bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), count) != 1)
        qFatal("no random numbers");
    return bytes;
}

QString Transactions::open(const SignedIn& who, qint64 now)
{
    dropExpired(now);
    const QString id = randomHex(kIdBytes);
    m_transactions[id] = {.who = who, .openedAt = now};
    return id;
}

std::optional<QString> Transactions::userOf(const QString& id, qint64 now)
{
    dropExpired(now);
    const auto found = m_transactions.find(id);
    if (found == m_transactions.end() || !found->second.accessToken.isEmpty())
        return std::nullopt;
    return found->second.who.user;
}

Transactions::CodeResult Transactions::enterCode(const QString& id, bool codeIsRight)
{
    Transaction& transaction = m_transactions.at(id);
    if (codeIsRight) {
        transaction.accessToken = randomHex(kAccessTokenBytes);
        return {.accessToken = transaction.accessToken};
    }
    const int attemptsLeft = kAttempts - ++transaction.wrongCodes;
    if (attemptsLeft == 0)
        m_transactions.erase(id);
    return {.attemptsLeft = attemptsLeft};
}

std::optional<Transactions::SignedIn> Transactions::redeem(const QString& accessToken, qint64 now)
{
    dropExpired(now);
    const auto found =
        std::find_if(m_transactions.begin(), m_transactions.end(), [&](const auto& each) {
            return !accessToken.isEmpty() && each.second.accessToken == accessToken;
        });
    if (found == m_transactions.end())
        return std::nullopt;
    const SignedIn who = found->second.who;
    m_transactions.erase(found);
    return who;
}

void Transactions::dropExpired(qint64 now)
{
    std::erase_if(m_transactions, [now](const auto& each) {
        return now - each.second.openedAt >= kLifetimeSeconds;
    });
}

} // namespace korvex::mfa_service
