#include "core/settings.h"

#include "core/secret.h"
#include "core/user_registry_data.h"

#include <stdexcept>

namespace korvex {

namespace {

const SettingDefinition& definitionOf(Setting id)
{
    const auto entry = settingCatalogue().find(id);
    if (entry == settingCatalogue().end())
        throw std::out_of_range("invalid map<K, T> key");
    return entry->second;
}

std::optional<platform::RegistryKey> keyOf(SettingStore store)
{
    switch (store) {
    case SettingStore::User:
        return userRegistryData()->key();
    case SettingStore::Main:
        return mainKey();
    case SettingStore::Data:
        return dataKey();
    case SettingStore::Cache:
        return cacheKey();
    }
    return std::nullopt;
}

template <typename T>
T read(Setting id, SettingType type,
       std::optional<T> (platform::RegistryKey::*stored)(const QString&) const)
{
    const SettingDefinition& definition = definitionOf(id);
    if (definition.type != type)
        return T{};
    const T fallback = definition.defaultValue.value<T>();
    const auto key = keyOf(definition.store);
    return key ? ((*key).*stored)(definition.name).value_or(fallback) : fallback;
}

platform::RegistryKey productKey(const QString& subKey)
{
    return platform::RegistryKey(
        QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Korvex\\WindowsLogon") + subKey);
}

} // namespace

const platform::RegistryKey& mainKey()
{
    static const platform::RegistryKey key = productKey(QString());
    return key;
}

const platform::RegistryKey& dataKey()
{
    static const platform::RegistryKey key = productKey(QStringLiteral("\\Data"));
    return key;
}

const platform::RegistryKey& cacheKey()
{
    static const platform::RegistryKey key = productKey(QStringLiteral("\\Cache"));
    return key;
}

const std::map<Setting, SettingDefinition>& settingCatalogue()
{
    using enum SettingStore;
    using enum SettingType;
    const auto text = [](const char* value) { return QVariant(QString::fromLatin1(value)); };
    static const std::map<Setting, SettingDefinition> catalogue = {
        {Setting::OfflineAuth, {User, "OfflineAuth", Boolean, false}},
        // The default is the value's own name, on purpose: apiServer() supplies the real one.
        {Setting::KorvexApiServer, {Main, "korvexApiServer", String, text("korvexApiServer")}},
        {Setting::SecretKey, {Main, "SecretKey", String, text("")}},
        {Setting::SystemToken, {Main, "SystemToken", String, text("")}},
        {Setting::OfflineTotpMaxAttempts, {Main, "OfflineTOTPMaxAttempts", Number, 10}},
        {Setting::OfflineTotpTimeBetweenAttempts,
         {Main, "OfflineTOTPTimeBetweenAttempts", Number64, 30}},
        {Setting::FailMode, {Main, "FailMode", String, text("bypass")}},
        {Setting::ApplicationName, {Data, "ApplicationName", String, text("")}},
        {Setting::CompanyName, {Data, "CompanyName", String, text("")}},
        {Setting::CompanyLogo, {Data, "CompanyLogo", String, text("../rsc/Korvex-logo.png")}},
        {Setting::KorvexBranding, {Data, "KorvexBranding", String, text("Protected by Korvex")}},
        {Setting::HelpPrompt, {Data, "HelpPrompt", String, text("Need help?")}},
        {Setting::HelpMsg,
         {Data, "HelpMsg", String, text("Contact your organization's IT help or support desk.")}},
        {Setting::HelpLink1, {Data, "HelpLink1", String, text("")}},
        {Setting::HelpLink2, {Data, "HelpLink2", String, text("")}},
        {Setting::RecoveryCode, {Data, "RecoveryCode", String, text("")}},
        {Setting::IsCompanyDataReaded, {Cache, "IsCompanyDataReaded", Flag, 0}},
        {Setting::RevokeRememberDevicePolicy, {Main, "RevokeRememberDevicePolicy", Number, 2}},
    };
    return catalogue;
}

QString readString(Setting id)
{
    return read(id, SettingType::String, &platform::RegistryKey::readString);
}

bool readBool(Setting id)
{
    return read(id, SettingType::Boolean, &platform::RegistryKey::readBool);
}

qint32 readNumber(Setting id)
{
    return read(id, SettingType::Number, &platform::RegistryKey::readNumber);
}

qint64 readNumber64(Setting id)
{
    return read(id, SettingType::Number64, &platform::RegistryKey::readNumber64);
}

qint64 readFlag(Setting id)
{
    return read(id, SettingType::Flag, &platform::RegistryKey::readNumber64);
}

QByteArray readSecretKey()
{
    QString text = readString(Setting::SecretKey);
    QByteArray bytes = text.toLocal8Bit();
    wipe(text);
    return bytes;
}

bool failModeIsBypass()
{
    return readString(Setting::FailMode) == QLatin1String("bypass");
}

} // namespace korvex
