#pragma once

#include <QString>
#include <QStringList>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace korvex::platform {

/// What a value holds: a REG_SZ, a REG_DWORD or a REG_QWORD.
using RegistryData = std::variant<QString, quint32, quint64>;

struct RegistryValue
{
    QString name; ///< as first written; empty for the default value of its key
    RegistryData data;
};

/// A result, or the cause of failure in one line, naming the file.
template <typename T>
using RegistryResult = std::expected<T, QString>;

/// The path that a key is stored under: the one given, without empty parts, and with the current
/// user's own key in place of HKEY_CURRENT_USER. Nothing for other roots and for names that are
/// longer (255 characters) or deeper (512 levels) than a registry allows.
std::optional<QString> storedKeyPath(const QString& path);

/// An open connection to the registry file. Paths of keys are those of storedKeyPath(). One thread
/// at a time, and never across a fork.
class RegistryDatabase
{
public:
    /// "<root>/registry.db"
    static QString defaultPath();

    /// Nothing (a null pointer) when there is no file. This and every read wait up to 1 s for a
    /// file that is locked.
    static RegistryResult<std::unique_ptr<RegistryDatabase>> open(const QString& file);
    /// Makes the file and its folder when they are missing, for the current user alone. This and
    /// every change wait up to 10 s for a file that is locked.
    static RegistryResult<std::unique_ptr<RegistryDatabase>> openOrCreate(const QString& file);

    ~RegistryDatabase();
    RegistryDatabase(const RegistryDatabase&) = delete;
    RegistryDatabase& operator=(const RegistryDatabase&) = delete;

    /// The path of a key as first written; nothing when there is no such key.
    RegistryResult<std::optional<QString>> findKey(const QString& key);
    RegistryResult<std::optional<RegistryData>> value(const QString& key, const QString& name);
    /// The values of a key, and the names of the keys directly below it, both by name.
    RegistryResult<std::vector<RegistryValue>> values(const QString& key);
    RegistryResult<QStringList> subKeys(const QString& key);

    /// Runs `changes`, which calls the functions below, and keeps all of its changes or, when it
    /// fails, none.
    RegistryResult<void> change(const std::function<RegistryResult<void>()>& changes);

    /// Makes the key, and its parents, when they are missing.
    RegistryResult<void> createKey(const QString& key);
    /// Replaces the value whole; makes the key when it is missing.
    RegistryResult<void> setValue(const QString& key, const RegistryValue& value);
    /// False when there is no such value.
    RegistryResult<bool> deleteValue(const QString& key, const QString& name);
    /// Deletes the key with all below it; false when there is no such key.
    RegistryResult<bool> deleteKey(const QString& key);

private:
    class Query;
    struct KeyRow;

    RegistryDatabase(QString file, sqlite3* database);

    static RegistryResult<std::unique_ptr<RegistryDatabase>> open(const QString& file, int timeout);
    RegistryResult<void> checkVersion();
    RegistryResult<void> execute(const char* statement);
    RegistryResult<std::optional<KeyRow>> findRow(const QString& key);
    RegistryResult<KeyRow> ensureRow(const QString& key);
    std::unexpected<QString> failure() const;

    QString m_file;
    sqlite3* m_database;
    std::map<std::string_view, sqlite3_stmt*> m_statements;
};

} // namespace korvex::platform
