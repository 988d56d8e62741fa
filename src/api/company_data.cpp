#include "api/company_data.h"

#include "core/log.h"

#include <QJsonObject>
#include <array>
#include <utility>

namespace korvex {

namespace {

constexpr int kMaxTextLength = 4096;

constexpr std::array<std::pair<const char*, Setting>, 8> kMembers{{
    {"applicationName", Setting::ApplicationName},
    {"companyName", Setting::CompanyName},
    {"companyLogo", Setting::CompanyLogo},
    {"korvexBranding", Setting::KorvexBranding},
    {"helpPrompt", Setting::HelpPrompt},
    {"helpMsg", Setting::HelpMsg},
    {"helpLink1", Setting::HelpLink1},
    {"helpLink2", Setting::HelpLink2},
}};

} // namespace

CompanyData parseCompanyData(const QJsonObject& result)
{
    CompanyData data;
    for (const auto& [name, setting] : kMembers) {
        const QJsonValue value = result.value(QLatin1String(name));
        if (value.isUndefined() || value.isNull())
            continue;
        const QString text = value.toString();
        if (!value.isString() || text.size() > kMaxTextLength) {
            logger().logWarning(
                0, QStringLiteral("Company data: '%1' is no text of at most %2 characters")
                       .arg(QLatin1String(name))
                       .arg(kMaxTextLength));
            continue;
        }
        data.emplace(setting, text);
    }
    return data;
}

} // namespace korvex
