#pragma once

class QString;

namespace korvex {

class KorvexRestAPIClient;

/// Fetches the company's branding and its logo once per installation: IsCompanyDataReaded says that
/// it has been done. Every setting that the service gives a text for is written, the others stay as
/// they are; the logo becomes a file below the data root, its path CompanyLogo. All of it is
/// fetched and checked before anything is written. A failure is logged and has no other
/// consequence: the next sign-in tries again.
///
/// Blocks for at most two requests of the client's time-out; writes nothing once there is a
/// verdict.
void fetchCompanyDataOnce(KorvexRestAPIClient& client, const QString& systemToken);

} // namespace korvex
