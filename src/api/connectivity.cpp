#include "api/connectivity.h"

#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/message_box.h"
#include "core/secret.h"
#include "core/settings.h"
#include "core/verdict.h"
#include "offline_mode/offline_mode_controller.h"
#include "otp/offline_period.h"
#include "otp/offline_secret.h"
#include "rest/rest_client.h"

#include <QDateTime>

namespace korvex {

namespace {

/// Whether the user may and can sign in offline.
bool offlineModeIsPossible()
{
    QByteArray secret = otp::loadOtpSecret(userRegistryData().get());
    const bool exists = !secret.isEmpty();
    wipe(secret);
    if (!exists)
        return false;
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    if (otp::offlineDaysLeft(*userRegistryData(), now) != 0) {
        otp::noteTimeSeen(*userRegistryData(), now);
        return true;
    }
    logger().logWarning(0, QStringLiteral("Offline mode has ended for this user: no sign-in that "
                                          "the service accepted in the last %1 days")
                               .arg(readNumber(Setting::OfflineMaxDays)));
    return false;
}

void openOfflineScreen()
{
    logger().log(1, QStringLiteral("Initializing offline mode..."));
    logger().log(2, QStringLiteral("The Offline Mode flag is active."));
    offline_mode::OfflineModeController& screen = offline_mode::offlineMode();
    if (!screen.show()) {
        giveUpOfflineScreen();
        return;
    }
    logger().log(0, QStringLiteral("Offline mode prompt initialized"));
    screen.startExitHandler();
}

} // namespace

bool Connectivity::checkConnection(KorvexRestAPIClient& client)
{
    logger().log(1, QStringLiteral("Verifying connection to Korvex API..."));
    const auto answer = client.probe();
    // The verdict interrupts the probe, whose failure then means nothing.
    if (verdictGiven())
        return false;
    if (answer) {
        logger().log(1, QStringLiteral("Connection with Korvex API established"));
        return true;
    }
    logger().logError(QStringLiteral("No connection to Korvex API. Error %1")
                          .arg(static_cast<int>(answer.error().code)));
    judgeUnreachable();
    return false;
}

void Connectivity::judgeUnreachable()
{
    // Deliberate: by default an unreachable service lets the user in. An administrator who wants
    // the machine closed sets another FailMode.
    const bool bypass = failModeIsBypass();
    if (readBool(Setting::OfflineAuth)) {
        if (offlineModeIsPossible())
            openOfflineScreen();
        else if (bypass)
            grant(QStringLiteral("OTP secret doesn't exist! FailMode bypass."));
        else
            deny(QStringLiteral("OTP secret doesn't exist!"));
        return;
    }
    if (bypass) {
        grant(QStringLiteral("Cannot reach Korvex API! FailMode bypass."));
        return;
    }
    showMessageBox(tr("Access Denied!\nYou are not allowed to log in.\n"
                      "Contact your administrator."));
    deny(QStringLiteral("Cannot reach Korvex API and bypass MFA when offline is off. "
                        "Check your Internet connection and try again."));
}

} // namespace korvex
