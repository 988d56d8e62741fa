#include "commands.h"

#include "confirmation.h"
#include "platform/posix/registry_database.h"
#include "reg_text.h"

#include <QFile>
#include <QSaveFile>
#include <algorithm>
#include <memory>
#include <vector>

namespace korvex::registry_editor {

using platform::RegistryData;
using platform::RegistryDatabase;
using platform::RegistryResult;
using platform::RegistryValue;

namespace {

constexpr qint64 kMaximumFile = 16 * 1024 * 1024;

Outcome done()
{
    return {true, QStringLiteral("The operation completed successfully.\n")};
}

Outcome failed(const QString& cause)
{
    return {false, {}, QStringLiteral("ERROR: %1\n").arg(cause)};
}

Outcome notFound()
{
    return failed(
        QStringLiteral("The system was unable to find the specified registry key or value."));
}

Outcome invalidSyntax(const Command& command, const QString& detail)
{
    return failed(QStringLiteral("Invalid syntax. %1\n%2").arg(detail, usageHint(command.verb)));
}

/// Nothing was done: this is neither a success nor a fault.
Outcome canceled()
{
    return {false, QStringLiteral("The operation was canceled by the user.\n")};
}

// Values as they are typed and shown

std::optional<quint64> parseNumber(const QString& text, quint64 maximum)
{
    const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const QString digits = isHex ? text.mid(2) : text;
    const bool areDigits = std::all_of(digits.begin(), digits.end(), [isHex](QChar digit) {
        const QString allowed = QStringLiteral("0123456789abcdef");
        const int value = allowed.indexOf(digit.toLower());
        return value >= 0 && (isHex || value < 10);
    });
    bool isNumber = false;
    const quint64 number = digits.toULongLong(&isNumber, isHex ? 16 : 10);
    return isNumber && areDigits && number <= maximum ? std::optional(number) : std::nullopt;
}

/// The data that /t and /d give.
std::expected<RegistryData, QString> parseData(const Command& command)
{
    const QString type =
        command.has("/t") ? command.argumentOf("/t").toUpper() : QStringLiteral("REG_SZ");
    const QString text = command.argumentOf("/d");
    if (type == QLatin1String("REG_SZ"))
        return text;
    const bool isNarrow = type == QLatin1String("REG_DWORD");
    if (!isNarrow && type != QLatin1String("REG_QWORD"))
        return std::unexpected(
            QStringLiteral("The type '%1' is not REG_SZ, REG_DWORD or REG_QWORD.").arg(type));
    const auto number = parseNumber(command.has("/d") ? text : QStringLiteral("0"),
                                    isNarrow ? 0xffffffffu : ~quint64{0});
    if (!number)
        return std::unexpected(QStringLiteral("Specify valid numeric value for '/d'."));
    return isNarrow ? RegistryData(static_cast<quint32>(*number)) : RegistryData(*number);
}

QString valueLine(const RegistryValue& value)
{
    struct Shown
    {
        QString operator()(const QString& text) const
        {
            return QStringLiteral("REG_SZ    ") + text;
        }
        QString operator()(quint32 number) const
        {
            return QStringLiteral("REG_DWORD    0x%1").arg(number, 0, 16);
        }
        QString operator()(quint64 number) const
        {
            return QStringLiteral("REG_QWORD    0x%1").arg(number, 0, 16);
        }
    };
    return QStringLiteral("    %1    %2\n")
        .arg(value.name.isEmpty() ? QStringLiteral("(Default)") : value.name,
             std::visit(Shown{}, value.data));
}

/// The key with all keys below it, in the order in which they are shown and exported.
RegistryResult<void> collect(RegistryDatabase& database, const QString& path,
                             std::vector<KeyContent>& keys)
{
    auto values = database.values(path);
    if (!values)
        return std::unexpected(values.error());
    keys.push_back({path, *std::move(values)});
    const auto names = database.subKeys(path);
    if (!names)
        return std::unexpected(names.error());
    for (const QString& name : *names)
        if (auto result = collect(database, path + QLatin1Char('\\') + name, keys); !result)
            return result;
    return {};
}

// The verbs. `key` is the stored path that the command names.

Outcome add(const Command& command, const QString& key)
{
    const bool setsValue = command.namesValue() || command.has("/t") || command.has("/d");
    const QString name = command.argumentOf("/v");
    if (!isName(key) || !isName(name))
        return invalidSyntax(command, QStringLiteral("A name holds no control characters."));
    const auto data = parseData(command);
    if (!data)
        return invalidSyntax(command, data.error());
    const auto database = RegistryDatabase::openOrCreate(RegistryDatabase::defaultPath());
    if (!database)
        return failed(database.error());
    if (setsValue && !command.has("/f")) {
        const auto existing = (*database)->value(key, name);
        if (!existing)
            return failed(existing.error());
        if (*existing && !confirm(QStringLiteral("Value %1 exists, overwrite(Yes/No)? ").arg(name)))
            return canceled();
    }
    const auto changed = (*database)->change([&] {
        return setsValue ? (*database)->setValue(key, {name, *data}) : (*database)->createKey(key);
    });
    return changed ? done() : failed(changed.error());
}

/// With /v or /ve and /s: that value of every key that has it.
Outcome search(const std::vector<KeyContent>& keys, const QString& name)
{
    QString text;
    int matches = 0;
    for (const KeyContent& key : keys) {
        for (const RegistryValue& value : key.values) {
            if (value.name.compare(name, Qt::CaseInsensitive) != 0)
                continue;
            text += QLatin1Char('\n') + key.path + QLatin1Char('\n') + valueLine(value);
            ++matches;
        }
    }
    return {matches > 0,
            text + QStringLiteral("\nEnd of search: %1 match(es) found.\n").arg(matches)};
}

Outcome show(const KeyContent& key, const QStringList& subKeys)
{
    QString text = QStringLiteral("\n");
    if (!key.values.empty()) {
        text += key.path + QLatin1Char('\n');
        for (const RegistryValue& value : key.values)
            text += valueLine(value);
        text += QLatin1Char('\n');
    }
    for (const QString& name : subKeys)
        text += key.path + QLatin1Char('\\') + name + QLatin1Char('\n');
    return {true, text};
}

Outcome queryRecursively(RegistryDatabase& database, const QString& path, const Command& command)
{
    std::vector<KeyContent> keys;
    if (const auto collected = collect(database, path, keys); !collected)
        return failed(collected.error());
    if (command.namesValue())
        return search(keys, command.argumentOf("/v"));
    QString text;
    for (const KeyContent& key : keys) {
        text += QLatin1Char('\n') + key.path + QLatin1Char('\n');
        for (const RegistryValue& value : key.values)
            text += valueLine(value);
    }
    return {true, text + QLatin1Char('\n')};
}

Outcome query(RegistryDatabase& database, const QString& path, const Command& command)
{
    if (command.has("/s"))
        return queryRecursively(database, path, command);
    auto values = database.values(path);
    if (!values)
        return failed(values.error());
    if (!command.namesValue()) {
        const auto names = database.subKeys(path);
        return names ? show({path, *std::move(values)}, *names) : failed(names.error());
    }
    const auto data = database.value(path, command.argumentOf("/v"));
    if (!data)
        return failed(data.error());
    return *data ? show({path, {{command.argumentOf("/v"), **data}}}, {}) : notFound();
}

Outcome removeValues(RegistryDatabase& database, const QString& path, const Command& command)
{
    const QString name = command.argumentOf("/v");
    std::vector<QString> names{name};
    QString question = QStringLiteral("Delete the registry value %1 (Yes/No)? ").arg(name);
    if (command.has("/va")) {
        const auto values = database.values(path);
        if (!values)
            return failed(values.error());
        names.clear();
        for (const RegistryValue& value : *values)
            names.push_back(value.name);
        question =
            QStringLiteral("Delete all values under the registry key %1 (Yes/No)? ").arg(path);
    } else {
        const auto existing = database.value(path, name);
        if (!existing)
            return failed(existing.error());
        if (!*existing)
            return notFound();
    }
    if (!command.has("/f") && !confirm(question))
        return canceled();
    const auto changed = database.change([&]() -> RegistryResult<void> {
        for (const QString& each : names)
            if (const auto deleted = database.deleteValue(path, each); !deleted)
                return std::unexpected(deleted.error());
        return {};
    });
    return changed ? done() : failed(changed.error());
}

Outcome removeKey(RegistryDatabase& database, const QString& path, const Command& command)
{
    if (!path.contains(QLatin1Char('\\')))
        return failed(QStringLiteral("Access is denied."));
    if (!command.has("/f") &&
        !confirm(QStringLiteral("Permanently delete the registry key %1 (Yes/No)? ").arg(path)))
        return canceled();
    const auto changed = database.change([&]() -> RegistryResult<void> {
        const auto deleted = database.deleteKey(path);
        return deleted ? RegistryResult<void>() : std::unexpected(deleted.error());
    });
    return changed ? done() : failed(changed.error());
}

Outcome exportKey(RegistryDatabase& database, const QString& path, const Command& command)
{
    std::vector<KeyContent> keys;
    if (const auto collected = collect(database, path, keys); !collected)
        return failed(collected.error());
    const QString name = QFile::decodeName(command.operands.at(1).toUtf8());
    if (QFile::exists(name) && !command.has("/y") &&
        !confirm(QStringLiteral("File %1 already exists. Do you want to overwrite it (Yes/No)? ")
                     .arg(name)))
        return canceled();
    QSaveFile file(name);
    const QByteArray content = toRegText(keys);
    // For the owner alone, like the registry itself: there may be secrets among the values.
    if (!file.open(QIODevice::WriteOnly) ||
        !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) ||
        file.write(content) != content.size() || !file.commit())
        return failed(
            QStringLiteral("The file '%1' cannot be written: %2").arg(name, file.errorString()));
    return done();
}

/// The verbs that need an existing key.
Outcome runOnKey(const Command& command, const QString& key)
{
    const auto database = RegistryDatabase::open(RegistryDatabase::defaultPath());
    if (!database)
        return failed(database.error());
    if (*database == nullptr)
        return notFound();
    const auto found = (*database)->findKey(key);
    if (!found)
        return failed(found.error());
    if (!*found)
        return notFound();
    const QString& path = **found;
    if (command.verb == Verb::Query)
        return query(**database, path, command);
    if (command.verb == Verb::Export)
        return exportKey(**database, path, command);
    if (command.namesValue() || command.has("/va"))
        return removeValues(**database, path, command);
    return removeKey(**database, path, command);
}

RegistryResult<void> apply(RegistryDatabase& database, const RegChange& change)
{
    if (const auto* const made = std::get_if<CreateKey>(&change))
        return database.createKey(made->key);
    if (const auto* const set = std::get_if<SetValue>(&change))
        return database.setValue(set->key, set->value);
    // A key or value that was missing before is not a fault here.
    const auto* const key = std::get_if<DeleteKey>(&change);
    const auto* const value = std::get_if<DeleteValue>(&change);
    const auto deleted = key != nullptr ? database.deleteKey(key->key)
                                        : database.deleteValue(value->key, value->name);
    return deleted ? RegistryResult<void>() : std::unexpected(deleted.error());
}

Outcome importFile(const Command& command)
{
    const QString name = QFile::decodeName(command.operands.first().toUtf8());
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        return failed(
            QStringLiteral("Error opening the file '%1': %2").arg(name, file.errorString()));
    const QByteArray content = file.read(kMaximumFile + 1);
    if (content.size() > kMaximumFile)
        return failed(QStringLiteral("The file '%1' is larger than 16 MiB.").arg(name));
    const auto changes = parseRegText(content);
    if (!changes)
        return failed(
            QStringLiteral("The file '%1' cannot be imported: %2.").arg(name, changes.error()));

    const auto database = RegistryDatabase::openOrCreate(RegistryDatabase::defaultPath());
    if (!database)
        return failed(database.error());
    const auto changed = (*database)->change([&]() -> RegistryResult<void> {
        for (const RegChange& each : *changes)
            if (auto applied = apply(**database, each); !applied)
                return applied;
        return {};
    });
    return changed ? done() : failed(changed.error());
}

} // namespace

Outcome run(const Command& command)
{
    if (command.verb == Verb::Import)
        return importFile(command);
    const auto key = machineKeyPath(command.operands.first());
    if (!key)
        return failed(QStringLiteral("Invalid key name. It has to begin with HKLM or "
                                     "HKEY_LOCAL_MACHINE.\n%1")
                          .arg(usageHint(command.verb)));
    return command.verb == Verb::Add ? add(command, *key) : runOnKey(command, *key);
}

} // namespace korvex::registry_editor
