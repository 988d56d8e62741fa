#pragma once

#include "platform/registry.h"

#include <QString>
#include <QVariant>
#include <map>

namespace korvex {

/// The registry keys of the product: settings, data and cached state.
const platform::RegistryKey& mainKey();
const platform::RegistryKey& dataKey();
const platform::RegistryKey& cacheKey();

/// The named settings. The numbers are stable.
enum class Setting {
    OfflineAuth = 1,
    KorvexApiServer = 2,
    SecretKey = 3,
    SystemToken = 4,
    OfflineTotpMaxAttempts = 5,
    OfflineTotpTimeBetweenAttempts = 6, ///< seconds
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
};

/// Where a setting is kept.
enum class SettingStore { User = 1, Main = 2, Data = 3, Cache = 4 };

enum class SettingType { Boolean, Number, Number64, Flag, String };

struct SettingDefinition
{
    SettingStore store;
    QString name;
    SettingType type;
    QVariant defaultValue;
};

/// Every setting with its place, type and default, in the order of the numbers.
const std::map<Setting, SettingDefinition>& settingCatalogue();

// Typed reads: the stored value, else the setting's default. A setting of another type than the
// read asks for gives an empty value (text empty, number 0, false). A setting outside the catalogue
// is a programming error and throws std::out_of_range. Nothing is cached. Any thread.

QString readString(Setting id);
bool readBool(Setting id);
qint32 readNumber(Setting id);
qint64 readNumber64(Setting id);
/// A flag number may be stored as a REG_DWORD or a REG_QWORD.
qint64 readFlag(Setting id);

/// The shared secret in the form in which it keys signatures and envelopes; empty when there is
/// none. The caller wipes it.
QByteArray readSecretKey();

/// Whether a sign-in that cannot be decided lets the user in: only the exact text "bypass" does,
/// and it is the default.
bool failModeIsBypass();

} // namespace korvex
