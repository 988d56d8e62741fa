#pragma once

#include "core/settings.h"

#include <QString>
#include <map>

class QJsonObject;

namespace korvex {

/// The company's branding as the service gives it, by the setting that keeps each text. What the
/// service has left out is absent. CompanyLogo is the address of an image, or empty for none.
using CompanyData = std::map<Setting, QString>;

/// Reads an answer's `result`. A member that is absent or null says nothing; one that is no text of
/// at most 4096 characters is left out, with a line in the log. An empty logo address says that
/// there is no logo.
CompanyData parseCompanyData(const QJsonObject& result);

} // namespace korvex
