#include "core/setting_definitions.h"

#include <stdexcept>

namespace korvex {

namespace {

std::map<Setting, SettingDefinition> makeCatalogue()
{
    using enum SettingStore;
    using enum SettingType;
    using enum SettingOwner;
    const auto text = [](const char* value) { return QVariant(QString::fromLatin1(value)); };
    return {
        {Setting::OfflineAuth,
         {User, "OfflineAuth", Boolean, false, Administrator,
          "offline mode is switched on for this user"}},
        // The default is deliberately the value's own name: apiServer() supplies the real one.
        {Setting::KorvexApiServer,
         {Main, "korvexApiServer", String, text("korvexApiServer"), Administrator,
          "base URL of the service's API, without a slash at the end"}},
        {Setting::SecretKey,
         {Main, "SecretKey", String, text(""), Administrator,
          "the shared secret that signs requests and answers; must differ from `SystemToken`"}},
        {Setting::SystemToken,
         {Main, "SystemToken", String, text(""), Administrator,
          "the installation's identity at the service"}},
        {Setting::OfflineTotpMaxAttempts,
         {Main, "OfflineTOTPMaxAttempts", Number, 10, Administrator,
          "codes that may be tried on the offline screen before a wait is imposed"}},
        {Setting::OfflineTotpTimeBetweenAttempts,
         {Main, "OfflineTOTPTimeBetweenAttempts", Number64, 30, Administrator,
          "seconds of that wait"}},
        {Setting::FailMode,
         {Main, "FailMode", String, text("bypass"), Administrator,
          "what happens when the service cannot answer: exactly `bypass` lets the user in, "
          "anything else denies"}},
        {Setting::ApplicationName,
         {Data, "ApplicationName", String, text(""), Service, "branding: the application's name"}},
        {Setting::CompanyName,
         {Data, "CompanyName", String, text(""), Service, "branding: the company's name"}},
        {Setting::CompanyLogo,
         {Data, "CompanyLogo", String, text("../rsc/Korvex-logo.png"), Service,
          "branding: the file of the company's logo"}},
        {Setting::KorvexBranding,
         {Data, "KorvexBranding", String, text("Protected by Korvex"), Service,
          "branding: the line below the offline screen"}},
        {Setting::HelpPrompt,
         {Data, "HelpPrompt", String, text("Need help?"), Service,
          "branding: the caption of the help text"}},
        {Setting::HelpMsg,
         {Data, "HelpMsg", String, text("Contact your organization's IT help or support desk."),
          Service, "branding: the help text"}},
        {Setting::HelpLink1,
         {Data, "HelpLink1", String, text(""), Service, "branding: the first help link"}},
        {Setting::HelpLink2,
         {Data, "HelpLink2", String, text(""), Service, "branding: the second help link"}},
        {Setting::RecoveryCode,
         {Data, "RecoveryCode", String, text(""), Product,
          "the machine's recovery code, encrypted for the recovery key's holder"}},
        {Setting::IsCompanyDataReaded,
         {Cache, "IsCompanyDataReaded", Flag, 0, Product,
          "the branding has been fetched; without it, the next sign-in fetches it anew"}},
        {Setting::RevokeRememberDevicePolicy,
         {Main, "RevokeRememberDevicePolicy", Number, 2, Administrator,
          "when a console sign-in makes the page forget a remembered device: 1 when the public "
          "network (ASN) of the machine changes, 2 when its public IPv4 address does, anything "
          "else never"}},
        {Setting::RequestTimeout,
         {Main, "RequestTimeout", Number, 20000, Administrator,
          "milliseconds that an answer of the service, or a pause while the page loads, may take; "
          "a number below 1 counts as absent"}},
        {Setting::SendUpn,
         {Main, "sendUPN", Boolean, false, Administrator,
          "send the user's UPN or e-mail address as the name"}},
        {Setting::SendNtlm,
         {Main, "sendNTLM", Boolean, true, Administrator,
          "send `DOMAIN\\name`; 0 sends the bare name"}},
        {Setting::ProxyMode,
         {Main, "proxyMode", Number, 0, Administrator,
          "0: no proxy but the system's; anything else: the HTTP proxy below, for service and "
          "page"}},
        {Setting::ProxyHost,
         {Main, "proxyHost", String, text(""), Administrator,
          "the HTTP proxy's host; without it, a warning in the log and no proxy"}},
        {Setting::ProxyPort,
         {Main, "proxyPort", Number, 0, Administrator,
          "the HTTP proxy's port, 1 to 65535; without it, a warning in the log and no proxy"}},
        {Setting::ProxyUsername,
         {Main, "proxyUsername", String, text(""), Administrator,
          "the user name for a proxy that asks for one"}},
        {Setting::ProxyPassword,
         {Main, "proxyPassword", String, text(""), Administrator,
          "the password for a proxy that asks for one, **stored in plain text**: give the proxy "
          "an account that can do nothing else"}},
        {Setting::DebugMode,
         {Main, "debugMode", Number, 0, Administrator, "verbosity of the log, 0 to 3"}},
        {Setting::DebugKorvexRequests,
         {Main, "debugKorvexRequests", Boolean, false, Administrator,
          "log the service's answers and open developer tools for the page. For diagnosis only: "
          "anyone at the logon screen can use the tools"}},
        {Setting::OfflineMaxDays,
         {Main, "OfflineMaxDays", Number, 0, Administrator,
          "days after a user's last sign-in that the service accepted until offline mode ends for "
          "them; 0: never"}},
    };
}

} // namespace

const std::map<Setting, SettingDefinition>& settingCatalogue()
{
    static const std::map<Setting, SettingDefinition> catalogue = makeCatalogue();
    return catalogue;
}

const SettingDefinition& definitionOf(Setting id)
{
    const auto entry = settingCatalogue().find(id);
    if (entry == settingCatalogue().end())
        throw std::out_of_range("invalid map<K, T> key");
    return entry->second;
}

} // namespace korvex
