#include "api/company_data_fetch.h"

#include "api/company_data.h"
#include "core/log.h"
#include "core/logo_image.h"
#include "core/verdict.h"
#include "platform/paths.h"
#include "rest/rest_client.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <optional>
#include <utility>

namespace korvex {

namespace {

struct Logo
{
    QByteArray bytes{};
    QByteArray format{}; ///< also the ending of the file's name
};

struct Branding
{
    CompanyData texts{};
    std::optional<Logo> logo{};
    bool complete = true; ///< false: something was not transferred and has to be fetched again
};

void warn(const QString& text)
{
    logger().logWarning(0, QStringLiteral("Company data: ") + text);
}

/// Fetches the logo that the texts name. A logo that cannot be used is left out of both.
void fetchLogo(Branding& branding)
{
    const auto address = branding.texts.find(Setting::CompanyLogo);
    if (address == branding.texts.end() || address->second.isEmpty())
        return;
    const auto bytes = KorvexRestAPIClient::get(address->second, kMaxLogoSize);
    const QByteArray format = bytes ? logoFormat(*bytes) : QByteArray();
    if (!bytes) {
        branding.complete = false;
        warn(QStringLiteral("the logo cannot be fetched: ") + address->second);
    } else if (format.isEmpty()) {
        warn(QStringLiteral("the logo is no PNG or JPEG of at most 1 MiB and %1 x %1 pixels")
                 .arg(kMaxLogoEdge));
    } else {
        branding.logo = Logo{*bytes, format};
        return;
    }
    branding.texts.erase(address);
}

std::expected<Branding, QString> fetch(KorvexRestAPIClient& client, const QString& systemToken)
{
    const auto answer =
        client.post(QStringLiteral("/api/company/data"),
                    QJsonDocument(QJsonObject{{QStringLiteral("systemToken"), systemToken}}));
    // An empty result is among the unknown answers. It says that there is no branding.
    if (!answer && answer.error().code != ErrorCode::UnknownServiceError) {
        return std::unexpected(QStringLiteral("code %1, error: '%2'")
                                   .arg(QString::number(static_cast<int>(answer.error().code)),
                                        answer.error().message));
    }
    Branding branding;
    if (answer)
        branding.texts = parseCompanyData(*answer);
    if (!verdictGiven())
        fetchLogo(branding);
    if (verdictGiven())
        return std::unexpected(QStringLiteral("the sign-in has ended"));
    return branding;
}

/// The path of the stored file; empty when it cannot be written, and then an older file is kept.
QString storeLogo(const Logo& logo)
{
    const QString path = platform::dataRoot() + QDir::separator() + QStringLiteral("CompanyLogo.") +
                         QString::fromLatin1(logo.format);
    QSaveFile file(path);
    const bool written = QDir().mkpath(platform::dataRoot()) && file.open(QIODevice::WriteOnly) &&
                         file.write(logo.bytes) == logo.bytes.size() && file.commit();
    return written ? path : QString();
}

/// The flag comes last, and only when nothing is missing: otherwise the next sign-in fetches
/// everything again.
std::expected<void, QString> store(Branding branding)
{
    if (branding.logo) {
        const QString path = storeLogo(*branding.logo);
        if (path.isEmpty()) {
            warn(QStringLiteral("the logo cannot be written"));
            branding.complete = false;
            branding.texts.erase(Setting::CompanyLogo);
        } else {
            branding.texts[Setting::CompanyLogo] = path;
        }
    }
    const auto nameOf = [](Setting setting) { return definitionOf(setting).name; };
    for (const auto& [setting, text] : branding.texts)
        if (!dataKey().writeString(nameOf(setting), text))
            return std::unexpected(QStringLiteral("the registry cannot be written"));
    if (branding.complete && !cacheKey().writeNumber(nameOf(Setting::IsCompanyDataReaded), 1))
        return std::unexpected(QStringLiteral("the registry cannot be written"));
    return {};
}

} // namespace

void fetchCompanyDataOnce(KorvexRestAPIClient& client, const QString& systemToken)
{
    if (readFlag(Setting::IsCompanyDataReaded) != 0)
        return;
    auto branding = fetch(client, systemToken);
    const auto stored = branding ? store(*std::move(branding)) : std::unexpected(branding.error());
    if (stored)
        logger().log(1, QStringLiteral("Company data stored"));
    else
        logger().logWarning(0, QStringLiteral("Company data not stored: ") + stored.error());
}

} // namespace korvex
