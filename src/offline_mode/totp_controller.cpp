#include "offline_mode/totp_controller.h"

#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/settings.h"
#include "offline_mode/custom_tools.h"
#include "offline_mode/screen_result.h"
#include "otp/key_provider.h"
#include "otp/totp_provider.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace korvex::offline_mode {

TotpController::TotpController(std::shared_ptr<ScreenResult> result)
    : m_result(std::move(result))
{
    if (readString(Setting::RecoveryCode).isEmpty())
        m_recoveryCode.regenCode();
    m_ticks.setInterval(1000);
    connect(&m_ticks, &QTimer::timeout, this, &TotpController::onTick);
}

OtpValidateResult TotpController::getValidateResult(const QString& code) const
{
    OtpValidateResult result;
    if (!m_limiter.canAttempt())
        result.wholeValidateMessage = tr("Too Many Attempts.");
    else if (code.isEmpty())
        result.wholeValidateMessage = tr("Please fill out this field.");
    else if (CustomTools::codeDigits(code) != code || code.size() != CustomTools::kCodeLength)
        result.wholeValidateMessage = tr("The code has six digits.");
    else
        result = {.status = true, .wholeValidateMessage = tr("The code has the correct format!")};
    return result;
}

bool TotpController::checkCode(const QString& code)
{
    const bool accepted = verify(code);
    m_result->store(accepted);
    if (!m_limiter.canAttempt() && !m_ticks.isActive()) {
        logger().log(0, QStringLiteral("Too many verification attempts!"));
        m_ticks.start();
    }
    emit secondsToWaitChanged();
    return accepted;
}

bool TotpController::verify(const QString& code)
{
    if (!m_limiter.tryAttempt())
        return false;
    const auto keys = std::make_shared<otp::KeyProvider>(userRegistryData());
    if (!otp::TOTPProvider(keys).verify(code)) {
        logger().log(0, QStringLiteral("Trying recovery code..."));
        if (!m_recoveryCode.verifyCode(code)) {
            logger().log(0, QStringLiteral("Code verification failed!"));
            return false;
        }
    }
    m_limiter.reset();
    // Also after a one-time code: a recovery code that somebody was told before must not work any
    // more.
    m_recoveryCode.regenCode();
    logger().log(0, QStringLiteral("Code verification success!"));
    return true;
}

void TotpController::closeWindow()
{
    m_result->requestClose();
    logger().log(0, QStringLiteral("Close window called!"));
}

int TotpController::secondsToWait() const
{
    return static_cast<int>(
        std::min<qint64>(m_limiter.secondsToWait(), std::numeric_limits<int>::max()));
}

void TotpController::onTick()
{
    if (m_limiter.canAttempt())
        m_ticks.stop();
    emit secondsToWaitChanged();
}

} // namespace korvex::offline_mode
