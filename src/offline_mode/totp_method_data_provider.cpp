#include "offline_mode/totp_method_data_provider.h"

#include "core/settings.h"
#include "offline_mode/file_validator.h"

#include <array>

namespace korvex::offline_mode {

namespace {

constexpr int kMaxLength = 4096; // characters; the service writes no longer texts

QString stored(Setting id)
{
    return readString(id).left(kMaxLength);
}

constexpr std::array kBuiltInTexts = {
    QT_TRANSLATE_NOOP("korvex::offline_mode::TotpMethodDataProvider", "Protected by Korvex"),
    QT_TRANSLATE_NOOP("korvex::offline_mode::TotpMethodDataProvider", "Need help?"),
    QT_TRANSLATE_NOOP("korvex::offline_mode::TotpMethodDataProvider",
                      "Contact your organization's IT help or support desk."),
};

/// A built-in text in the user's language, or a text of the organisation unchanged. Only the
/// wording tells them apart: an organisation that uses the same words gets them translated too.
QString translated(Setting id)
{
    const QString text = stored(id);
    for (const char* const builtIn : kBuiltInTexts)
        if (text == QLatin1String(builtIn))
            return TotpMethodDataProvider::tr(builtIn);
    return text;
}

} // namespace

QString TotpMethodDataProvider::companyName() const
{
    return stored(Setting::CompanyName);
}

QString TotpMethodDataProvider::applicationName() const
{
    const QString name = stored(Setting::ApplicationName);
    return name.isEmpty() ? QObject::tr("Korvex for Windows") : name;
}

QUrl TotpMethodDataProvider::logoUrl() const
{
    const QString path = stored(Setting::CompanyLogo);
    return FileValidator::isImage(path) ? QUrl::fromLocalFile(path)
                                        : QUrl(QStringLiteral("qrc:/rsc/Korvex-logo.png"));
}

QString TotpMethodDataProvider::protectedBy() const
{
    return translated(Setting::KorvexBranding);
}

QString TotpMethodDataProvider::helpPrompt() const
{
    return translated(Setting::HelpPrompt);
}

QString TotpMethodDataProvider::helpMessage() const
{
    return translated(Setting::HelpMsg);
}

QString TotpMethodDataProvider::helpLink1() const
{
    return stored(Setting::HelpLink1);
}

QString TotpMethodDataProvider::helpLink2() const
{
    return stored(Setting::HelpLink2);
}

QString TotpMethodDataProvider::recoveryCode() const
{
    return stored(Setting::RecoveryCode);
}

} // namespace korvex::offline_mode
