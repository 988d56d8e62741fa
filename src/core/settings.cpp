#include "core/settings.h"

#include "core/current_sign_in.h"
#include "core/secret.h"

namespace korvex {

namespace {

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

} // namespace

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
