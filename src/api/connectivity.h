#pragma once

#include <QCoreApplication>

namespace korvex {

class KorvexRestAPIClient;

/// Whether the MFA service can be reached, and what happens to the sign-in when it cannot.
class Connectivity
{
    Q_DECLARE_TR_FUNCTIONS(korvex::Connectivity)

public:
    /// True when the service answered. False when the sign-in has its verdict or the offline screen
    /// will give it; the caller then does nothing more. OfflineAuth, the offline secret and
    /// FailMode judge a service that does not answer.
    [[nodiscard]] static bool checkConnection(KorvexRestAPIClient& client);

private:
    static void judgeUnreachable();
};

} // namespace korvex
