#include "otp/totp_provider.h"

#include "core/log.h"
#include "core/secret.h"
#include "otp/key_provider.h"

#include <QtEndian>
#include <algorithm>

namespace korvex::otp {

namespace {

constexpr quint32 kMaximumDigits = 12;
constexpr quint32 kMaximumPeriod = 500;
constexpr quint32 kMaximumTimeWindows = 5;

} // namespace

TOTPProvider::TOTPProvider(std::shared_ptr<KeyProvider> keyProvider)
    : m_keyProvider(std::move(keyProvider))
{}

bool TOTPProvider::verify(const QString& code)
{
    return verifyAt(code, m_timeProvider());
}

bool TOTPProvider::verifyAt(const QString& code, quint64 time) const
{
    if (!m_keyProvider || code.isEmpty() || static_cast<quint32>(code.size()) != m_digits) {
        logger().log(0, QStringLiteral("Code to verify is invalid."));
        return false;
    }
    if (m_timeWindows > kMaximumTimeWindows) {
        logger().log(0, QStringLiteral("Valid windows count is bigger than max."));
        return false;
    }
    const QVector<quint64> counters = timeWindows(time);
    if (counters.isEmpty()) {
        logger().log(0, QStringLiteral("Can't load time windows for totp."));
        return false;
    }
    logger().log(0, QStringLiteral("Time windows count: ") + QString::number(counters.size()));
    const bool found = std::any_of(counters.begin(), counters.end(),
                                   [&](quint64 counter) { return generate(counter) == code; });
    if (found)
        logger().log(0, QStringLiteral("Input code is found."));
    return found;
}

QVector<quint64> TOTPProvider::timeWindows(quint64 time) const
{
    if (m_period == 0 || m_period > kMaximumPeriod)
        return {};
    QVector<quint64> counters;
    // The subtraction wraps around for the first steps of 1970 only.
    const quint64 oldest = time / m_period - m_timeWindows;
    for (quint64 i = 0; i <= 2 * quint64{m_timeWindows}; ++i)
        counters.append(oldest + i);
    return counters;
}

std::optional<QString> TOTPProvider::generate(quint64 counter) const
{
    QByteArray key = m_keyProvider ? m_keyProvider->key() : QByteArray();
    if (key.isEmpty()) {
        logger().log(0, QStringLiteral("Can't load base key!"));
        return std::nullopt;
    }
    QByteArray message(sizeof counter, Qt::Uninitialized);
    qToBigEndian(counter, message.data());
    const auto value = m_algorithm(key, message);
    wipe(key);
    if (!value || m_digits > kMaximumDigits)
        return std::nullopt;
    // A value with fewer digits than a code gives no code instead of one with leading zeros. The
    // code that an app shows is refused then, in less than one of ten thousand steps.
    const QString digits = QString::number(*value);
    if (digits.size() < static_cast<int>(m_digits))
        return std::nullopt;
    return digits.right(static_cast<int>(m_digits));
}

} // namespace korvex::otp
