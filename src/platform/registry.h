#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace korvex::platform {

/// One registry key, named by its full path ("HKEY_LOCAL_MACHINE\..." or "HKEY_CURRENT_USER\...").
///
/// Windows: ADVAPI32, always the 64-bit view. Linux: an SQLite file below the root folder
/// (registry.db, mode 0600) with the same keys, value types and case-insensitive names.
///
/// A missing key, a missing value and a value of another type all read as nothing. A store that
/// cannot be read (damaged, locked, access refused) reads as nothing too and tells reportFault().
/// The object holds only the path: each call opens what it needs, so any thread may call.
class RegistryKey
{
public:
    explicit RegistryKey(QString path);

    const QString& path() const { return m_path; }

    /// A REG_SZ value of at most 1 MiB.
    std::optional<QString> readString(const QString& name) const;
    /// A REG_DWORD value, as a signed number.
    std::optional<qint32> readNumber(const QString& name) const;
    /// A REG_QWORD value, or a REG_DWORD value widened without its sign.
    std::optional<qint64> readNumber64(const QString& name) const;
    /// A REG_DWORD value: true unless it is 0.
    std::optional<bool> readBool(const QString& name) const;

    /// Each write creates the key when it is missing and replaces the value whole, whatever its
    /// type was. False, with a reportFault(), when nothing was written.
    bool writeString(const QString& name, const QString& value) const;
    bool writeNumber(const QString& name, qint32 value) const;
    bool writeNumber64(const QString& name, qint64 value) const;

    /// The names of the keys directly below this one, in the order of the system's enumeration
    /// (Linux: by name). Empty for a missing key.
    QStringList subKeys() const;

private:
    QString m_path;
};

} // namespace korvex::platform
