#pragma once

#include "offline_mode/otp_validate_result.h"
#include "otp/attempt_limiter.h"
#include "otp/recovery_code_controller.h"

#include <QObject>
#include <QTimer>
#include <memory>

namespace korvex::offline_mode {

class ScreenResult;

/// Checks the codes typed on the offline screen and closes it. The screen only forwards: what may
/// be tried, how often, and what is said about it is decided here. GUI thread.
class TotpController : public QObject
{
    Q_OBJECT
    /// Whole seconds until the next attempt is allowed; 0 when it is.
    Q_PROPERTY(int secondsToWait READ secondsToWait NOTIFY secondsToWaitChanged)

public:
    /// Makes a recovery code when the machine has none.
    explicit TotpController(std::shared_ptr<ScreenResult> result);

    /// Checks the form of a code and whether another attempt is allowed. Does not count as an
    /// attempt.
    Q_INVOKABLE korvex::offline_mode::OtpValidateResult
    getValidateResult(const QString& code) const;

    /// Counts an attempt and checks the code, first as a one-time code, then as a recovery code.
    Q_INVOKABLE bool checkCode(const QString& code);

    /// Ends the sign-in with the result of the last check.
    Q_INVOKABLE void closeWindow();

    int secondsToWait() const;

signals:
    void secondsToWaitChanged();

private:
    bool verify(const QString& code);
    void onTick();

    std::shared_ptr<ScreenResult> m_result;
    otp::AttemptLimiter m_limiter;
    RecoveryCodeController m_recoveryCode;
    QTimer m_ticks; ///< runs while the user has to wait
};

} // namespace korvex::offline_mode
