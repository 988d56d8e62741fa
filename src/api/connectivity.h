#pragma once

#include <QCoreApplication>

namespace korvex {

class KorvexRestAPIClient;

/// Whether the MFA service can be reached, and what happens to the sign-in when it cannot.
class Connectivity
{
    Q_DECLARE_TR_FUNCTIONS(korvex::Connectivity)

public:
    /// True when the service answered. False when it did not: then the verdict has been given, as
    /// OfflineAuth and FailMode say, and the caller does nothing more.
    [[nodiscard]] static bool checkConnection(KorvexRestAPIClient& client);

private:
    static void judgeUnreachable();
};

} // namespace korvex
