#pragma once

#include "core/settings.h"

#include <QString>
#include <expected>
#include <map>

class QJsonObject;

namespace korvex {

class KorvexRestAPIClient;

/// The company's branding as the service gives it, by the setting that keeps each text. What the
/// service has left out is absent. CompanyLogo is the address of an image, never an empty one.
using CompanyData = std::map<Setting, QString>;

/// Reads an answer's `result`; on failure the reason, for the log. Each member may be absent and is
/// else a text of at most 4096 characters. An empty logo address says that there is no logo.
[[nodiscard]] std::expected<CompanyData, QString> parseCompanyData(const QJsonObject& result);

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
