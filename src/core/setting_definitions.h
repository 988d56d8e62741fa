#pragma once

#include <QString>
#include <QVariant>
#include <map>

namespace korvex {

/// The named settings. The numbers are stable.
enum class Setting {
    OfflineAuth = 1,
    KorvexApiServer = 2,
    SecretKey = 3,
    SystemToken = 4,
    OfflineTotpMaxAttempts = 5,
    OfflineTotpTimeBetweenAttempts = 6,
    FailMode = 7,
    ApplicationName = 8,
    CompanyName = 9,
    CompanyLogo = 10,
    KorvexBranding = 11,
    HelpPrompt = 12,
    HelpMsg = 13,
    HelpLink1 = 14,
    HelpLink2 = 15,
    RecoveryCode = 16,
    IsCompanyDataReaded = 17, ///< spelt as the registry value is
    RevokeRememberDevicePolicy = 18,

    RequestTimeout = 101,
    SendUpn = 102,
    SendNtlm = 103,
    ProxyMode = 104,
    ProxyHost = 105,
    ProxyPort = 106,
    ProxyUsername = 107,
    ProxyPassword = 108,
    DebugMode = 109,
    DebugKorvexRequests = 110,
    OfflineMaxDays = 111,
};

/// Where a setting is kept.
enum class SettingStore { User = 1, Main = 2, Data = 3, Cache = 4 };

/// Boolean and Number are a REG_DWORD; Number64 and Flag a REG_QWORD or a REG_DWORD; String a
/// REG_SZ.
enum class SettingType { Boolean, Number, Number64, Flag, String };

/// Who writes a setting.
enum class SettingOwner { Administrator, Service, Product };

struct SettingDefinition
{
    SettingStore store;
    QString name;
    SettingType type;
    QVariant defaultValue;
    SettingOwner owner;
    QString meaning; ///< one sentence, in English
};

/// Every setting of the product, in the order of the numbers.
const std::map<Setting, SettingDefinition>& settingCatalogue();

/// One row of the catalogue. A setting outside it is a programming error: std::out_of_range.
const SettingDefinition& definitionOf(Setting id);

} // namespace korvex
