#include "offline_mode/totp_text_provider.h"

namespace korvex::offline_mode {

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

} // namespace korvex::offline_mode
