#pragma once

#include "platform/posix/registry_database.h"

#include <QByteArray>
#include <QString>
#include <expected>
#include <optional>
#include <variant>
#include <vector>

namespace korvex::registry_editor {

/// The stored path of a key below HKLM or HKEY_LOCAL_MACHINE; nothing for any other name.
std::optional<QString> machineKeyPath(const QString& name);

/// Whether a .reg file can hold the text as the name of a key or a value.
bool isName(const QString& text);

/// A key with its values, as it stands in a .reg file.
struct KeyContent
{
    QString path;
    std::vector<platform::RegistryValue> values;
};

/// The file: "Windows Registry Editor Version 5.00" in UTF-16, as Windows writes it.
QByteArray toRegText(const std::vector<KeyContent>& keys);

struct CreateKey
{
    QString key;
};
struct DeleteKey
{
    QString key;
};
struct SetValue
{
    QString key;
    platform::RegistryValue value;
};
struct DeleteValue
{
    QString key;
    QString name;
};
using RegChange = std::variant<CreateKey, DeleteKey, SetValue, DeleteValue>;

/// The changes that such a file names, in UTF-16 with a byte order mark or in UTF-8. The error
/// names the line.
std::expected<std::vector<RegChange>, QString> parseRegText(const QByteArray& content);

} // namespace korvex::registry_editor
