#pragma once

#include "otp/base_provider.h"
#include "otp/one_time_password.h"

#include <QString>
#include <QVector>
#include <memory>
#include <optional>
#include <utility>

namespace korvex::otp {

class KeyProvider;

/// Checks time-based one-time passwords (RFC 6238). The defaults are those of authenticator apps:
/// HMAC-SHA1, six digits and a new code every 30 seconds. One step early or late is accepted.
class TOTPProvider : public BaseProvider
{
public:
    /// Without a key provider every code is refused.
    explicit TOTPProvider(std::shared_ptr<KeyProvider> keyProvider);

    void setDigits(quint32 digits) { m_digits = digits; }
    /// How long a code is valid, in seconds: 1 to 500. With any other value every code is refused.
    void setPeriod(quint32 period) { m_period = period; }
    /// How many steps early or late a code is accepted: at most 5. With more every code is refused.
    void setTimeWindows(quint32 windows) { m_timeWindows = windows; }
    void setAlgorithm(utils::HmacAlgorithm algorithm) { m_algorithm = std::move(algorithm); }
    void setTimeProvider(utils::TimeProvider provider) { m_timeProvider = std::move(provider); }

    bool verify(const QString& code) override;

    /// The same for a given time, in seconds since 1970-01-01 UTC. A refusal for another reason
    /// than the code is logged.
    bool verifyAt(const QString& code, quint64 time) const;

    /// The steps accepted at a time, oldest first; none when the period is out of bounds.
    QVector<quint64> timeWindows(quint64 time) const;

    /// The code of a step. Nothing when there is no key (logged) or the step has no code.
    std::optional<QString> generate(quint64 counter) const;

private:
    std::shared_ptr<KeyProvider> m_keyProvider;
    quint32 m_digits = 6;
    quint32 m_period = 30;
    quint32 m_timeWindows = 1;
    utils::HmacAlgorithm m_algorithm = utils::GetHMACSha1Algorithm();
    utils::TimeProvider m_timeProvider = utils::GetTimeProviderSec();
};

} // namespace korvex::otp
