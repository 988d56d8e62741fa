#pragma once

#include "core/settings.h"

#include <QString>
#include <expected>
#include <map>

class QJsonObject;

namespace korvex {

/// The company's branding as the service gives it, by the setting that keeps each text. What the
/// service has left out is absent. CompanyLogo is the address of an image, or empty
/// for none.
using CompanyData = std::map<Setting, QString>;

/// Reads an answer's `result`; on failure the reason, for the log. Each member may be absent and is
/// else a text of at most 4096 characters. An empty logo address says that there is no logo.
[[nodiscard]] std::expected<CompanyData, QString> parseCompanyData(const QJsonObject& result);

} // namespace korvex
