#include "offline_mode/totp_text_provider.h"

#include "core/current_sign_in.h"
#include "otp/offline_period.h"

#include <QDateTime>

namespace korvex::offline_mode {

namespace {

constexpr int kWarnedDays = 3;

} // namespace

QString TotpTextProvider::noticeText()
{
    return tr(
        "No internet connection detected. Open your authenticator app and enter the six-digit "
        "code that it shows.");
}

QString TotpTextProvider::infoMessage()
{
    return tr(
        "No internet connection detected. You are in Offline Mode, but your account is still "
        "secure. Connect to the internet to fetch the latest application name and access more "
        "authentication methods. If you cannot connect to the internet, you can still sign in "
        "offline by verifying your identity.");
}

QString TotpTextProvider::recoveryCodeHint()
{
    return tr("No authenticator app at hand? Your help desk can tell you a recovery code. Enter it "
              "like any other code. It works once.");
}

QString TotpTextProvider::daysLeftText()
{
    const auto days = otp::offlineDaysLeft(*userRegistryData(), QDateTime::currentSecsSinceEpoch());
    if (!days || *days == 0 || *days > kWarnedDays)
        return {};
    return tr("You can sign in offline for %n more day(s). Connect to the internet before that.",
              nullptr, *days);
}

} // namespace korvex::offline_mode
