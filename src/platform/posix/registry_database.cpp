#include "platform/posix/registry_database.h"

#include "platform/posix/private_file.h"
#include "platform/posix/user_sid.h"

#include <QFile>
#include <array>
#include <cerrno>
#include <sqlite3.h>
#include <unistd.h>
#include <utility>

namespace korvex::platform {

namespace {

constexpr int kReadTimeout = 1000;   // milliseconds
constexpr int kWriteTimeout = 10000; // milliseconds
constexpr qint64 kVersion = 1;

constexpr int kMaximumDepth = 512;
constexpr int kMaximumKeyName = 255;
constexpr int kMaximumValueName = 16383;
constexpr int kMaximumString = 512 * 1024; // UTF-16 units, 1 MiB

// The write-ahead log is switched on last, so that the statements before it write to the file
// itself and report every error.
constexpr const char* kSchema = R"(
    BEGIN;
    CREATE TABLE registry_key(
        id INTEGER PRIMARY KEY,
        parent INTEGER REFERENCES registry_key(id) ON DELETE CASCADE,
        folded TEXT NOT NULL UNIQUE,
        path TEXT NOT NULL);
    CREATE INDEX registry_key_parent ON registry_key(parent);
    CREATE TABLE registry_value(
        key INTEGER NOT NULL REFERENCES registry_key(id) ON DELETE CASCADE,
        folded TEXT NOT NULL,
        name TEXT NOT NULL,
        type INTEGER NOT NULL,
        data NOT NULL,
        PRIMARY KEY(key, folded)) WITHOUT ROWID;
    PRAGMA user_version = 1;
    COMMIT;
    PRAGMA journal_mode = WAL;
)";

// Windows' numbers of the types, in the order of RegistryData.
constexpr std::array<int, 3> kTypeNumbers{1, 4, 11};

/// The same text for all names that differ only in case. It folds character by character so that,
/// as in a registry, names of different length stay different.
QString folded(const QString& name)
{
    QVector<uint> characters = name.toUcs4();
    for (uint& character : characters)
        character = QChar::toCaseFolded(character);
    return QString::fromUcs4(characters.constData(), characters.size());
}

} // namespace

std::optional<QString> storedKeyPath(const QString& path)
{
    QStringList parts = path.split(QLatin1Char('\\'), Qt::SkipEmptyParts);
    if (parts.isEmpty() || parts.size() > kMaximumDepth)
        return std::nullopt;
    for (const QString& part : std::as_const(parts))
        if (part.size() > kMaximumKeyName)
            return std::nullopt;
    QString& root = parts.first();
    if (root.compare(QLatin1String("HKEY_LOCAL_MACHINE"), Qt::CaseInsensitive) == 0)
        root = QStringLiteral("HKEY_LOCAL_MACHINE");
    else if (root.compare(QLatin1String("HKEY_CURRENT_USER"), Qt::CaseInsensitive) == 0)
        root = QStringLiteral("HKEY_USERS\\") + userSid(::geteuid());
    else
        return std::nullopt;
    return parts.join(QLatin1Char('\\'));
}

struct RegistryDatabase::KeyRow
{
    qint64 id;
    QString path;
};

/// One run of a statement, which is prepared at its first use and kept for the next.
class RegistryDatabase::Query
{
public:
    /// `statement` is a literal: it is kept by reference.
    Query(RegistryDatabase& owner, std::string_view statement)
        : m_statement(owner.m_statements[statement])
    {
        if (m_statement == nullptr)
            sqlite3_prepare_v3(owner.m_database, statement.data(),
                               static_cast<int>(statement.size()), SQLITE_PREPARE_PERSISTENT,
                               &m_statement, nullptr);
    }
    ~Query()
    {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    Query& bind(qint64 number)
    {
        sqlite3_bind_int64(m_statement, ++m_bound, number);
        return *this;
    }
    Query& bind(const QString& text)
    {
        const QByteArray utf8 = text.toUtf8();
        sqlite3_bind_text(m_statement, ++m_bound, utf8.constData(), utf8.size(), SQLITE_TRANSIENT);
        return *this;
    }
    Query& bind(const RegistryData& data)
    {
        if (const QString* const text = std::get_if<QString>(&data))
            return bindBlob(*text);
        const bool isWide = std::holds_alternative<quint64>(data);
        return bind(
            static_cast<qint64>(isWide ? std::get<quint64>(data) : std::get<quint32>(data)));
    }

    /// Text in UTF-16, as Windows keeps it. A conversion would not bring back every text.
    Query& bindBlob(const QString& text)
    {
        sqlite3_bind_blob(m_statement, ++m_bound, text.utf16(),
                          text.size() * static_cast<int>(sizeof(QChar)), SQLITE_TRANSIENT);
        return *this;
    }

    /// True while there is a row; afterwards failed() tells an error from the end.
    bool next()
    {
        m_result = m_statement == nullptr ? SQLITE_ERROR : sqlite3_step(m_statement);
        return m_result == SQLITE_ROW;
    }
    bool failed() const { return m_result != SQLITE_ROW && m_result != SQLITE_DONE; }

    qint64 number(int column) const { return sqlite3_column_int64(m_statement, column); }
    QString text(int column) const
    {
        const auto* const utf8 =
            reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return QString::fromUtf8(utf8, sqlite3_column_bytes(m_statement, column));
    }
    QString blob(int column) const
    {
        const auto* const text =
            static_cast<const QChar*>(sqlite3_column_blob(m_statement, column));
        return QString(text,
                       sqlite3_column_bytes(m_statement, column) / static_cast<int>(sizeof(QChar)));
    }
    /// Nothing for a type that this registry does not support.
    std::optional<RegistryData> data(int typeColumn, int dataColumn) const
    {
        switch (number(typeColumn)) {
        case kTypeNumbers[0]:
            return blob(dataColumn);
        case kTypeNumbers[1]:
            return static_cast<quint32>(number(dataColumn));
        case kTypeNumbers[2]:
            return static_cast<quint64>(number(dataColumn));
        default:
            return std::nullopt;
        }
    }

private:
    sqlite3_stmt*& m_statement;
    int m_bound = 0;
    int m_result = SQLITE_DONE;
};

QString RegistryDatabase::defaultPath()
{
    return rootFolder() + QStringLiteral("/registry.db");
}

RegistryDatabase::RegistryDatabase(QString file, sqlite3* database)
    : m_file(std::move(file))
    , m_database(database)
{}

RegistryDatabase::~RegistryDatabase()
{
    for (const auto& [text, statement] : m_statements)
        sqlite3_finalize(statement);
    sqlite3_close(m_database);
}

RegistryResult<std::unique_ptr<RegistryDatabase>> RegistryDatabase::open(const QString& file)
{
    return open(file, kReadTimeout);
}

RegistryResult<std::unique_ptr<RegistryDatabase>> RegistryDatabase::open(const QString& file,
                                                                         int timeout)
{
    const QByteArray name = QFile::encodeName(file);
    if (::access(name.constData(), F_OK) != 0 && errno == ENOENT)
        return nullptr;
    sqlite3* connection = nullptr;
    const int result = sqlite3_open_v2(name.constData(), &connection,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<RegistryDatabase> database(new RegistryDatabase(file, connection));
    if (result != SQLITE_OK)
        return database->failure();
    sqlite3_busy_timeout(connection, timeout);
    // As in a registry, a commit survives the end of the process at once, and a power cut after a
    // short while.
    if (auto set = database->execute("PRAGMA foreign_keys = ON; PRAGMA synchronous = NORMAL"); !set)
        return std::unexpected(set.error());
    if (auto checked = database->checkVersion(); !checked)
        return std::unexpected(checked.error());
    sqlite3_busy_timeout(connection, kReadTimeout);
    return database;
}

RegistryResult<std::unique_ptr<RegistryDatabase>>
RegistryDatabase::openOrCreate(const QString& file)
{
    auto database = open(file, kWriteTimeout);
    if (!database || *database != nullptr)
        return database;
    // Filled under another name, so that no process ever sees an unfinished file.
    const auto made = publishPrivateFile(file, [](const QString& path) -> RegistryResult<void> {
        sqlite3* connection = nullptr;
        const int result = sqlite3_open_v2(QFile::encodeName(path).constData(), &connection,
                                           SQLITE_OPEN_READWRITE, nullptr);
        RegistryDatabase created(path, connection);
        return result == SQLITE_OK ? created.execute(kSchema) : created.failure();
    });
    if (!made)
        return std::unexpected(
            QStringLiteral("The registry file '%1' cannot be made: %2").arg(file, made.error()));
    return open(file, kWriteTimeout);
}

std::unexpected<QString> RegistryDatabase::failure() const
{
    QString cause = QString::fromUtf8(sqlite3_errmsg(m_database));
    const int code = sqlite3_errcode(m_database);
    const int systemError = sqlite3_system_errno(m_database);
    if ((code == SQLITE_CANTOPEN || code == SQLITE_IOERR) && systemError != 0)
        cause += QStringLiteral(" (%1)").arg(qt_error_string(systemError));
    return std::unexpected(
        QStringLiteral("The registry file '%1' cannot be used: %2").arg(m_file, cause));
}

RegistryResult<void> RegistryDatabase::execute(const char* statement)
{
    if (sqlite3_exec(m_database, statement, nullptr, nullptr, nullptr) != SQLITE_OK)
        return failure();
    return {};
}

RegistryResult<void> RegistryDatabase::checkVersion()
{
    Query query(*this, "PRAGMA user_version");
    query.next();
    if (query.failed())
        return failure();
    if (query.number(0) != kVersion)
        return std::unexpected(
            QStringLiteral("The registry file '%1' cannot be used: it is of version %2, not %3")
                .arg(m_file)
                .arg(query.number(0))
                .arg(kVersion));
    return {};
}

RegistryResult<std::optional<RegistryDatabase::KeyRow>>
RegistryDatabase::findRow(const QString& key)
{
    Query query(*this, "SELECT id, path FROM registry_key WHERE folded = ?");
    if (query.bind(folded(key)).next())
        return KeyRow{query.number(0), query.text(1)};
    if (query.failed())
        return failure();
    return std::nullopt;
}

RegistryResult<std::optional<QString>> RegistryDatabase::findKey(const QString& key)
{
    auto row = findRow(key);
    if (!row)
        return std::unexpected(row.error());
    return *row ? std::optional((*row)->path) : std::nullopt;
}

RegistryResult<std::optional<RegistryData>> RegistryDatabase::value(const QString& key,
                                                                    const QString& name)
{
    Query query(*this, "SELECT type, data FROM registry_value "
                       "WHERE key = (SELECT id FROM registry_key WHERE folded = ?) AND folded = ?");
    if (query.bind(folded(key)).bind(folded(name)).next())
        return query.data(0, 1);
    if (query.failed())
        return failure();
    return std::nullopt;
}

RegistryResult<std::vector<RegistryValue>> RegistryDatabase::values(const QString& key)
{
    Query query(*this, "SELECT name, type, data FROM registry_value "
                       "WHERE key = (SELECT id FROM registry_key WHERE folded = ?) "
                       "ORDER BY folded");
    query.bind(folded(key));
    std::vector<RegistryValue> found;
    while (query.next())
        if (auto data = query.data(1, 2))
            found.push_back({query.text(0), *std::move(data)});
    if (query.failed())
        return failure();
    return found;
}

RegistryResult<QStringList> RegistryDatabase::subKeys(const QString& key)
{
    Query query(*this, "SELECT path FROM registry_key "
                       "WHERE parent = (SELECT id FROM registry_key WHERE folded = ?) "
                       "ORDER BY folded");
    query.bind(folded(key));
    QStringList names;
    while (query.next())
        names.append(query.text(0).section(QLatin1Char('\\'), -1));
    if (query.failed())
        return failure();
    return names;
}

RegistryResult<void> RegistryDatabase::change(const std::function<RegistryResult<void>()>& changes)
{
    // Take the write lock at the start. A transaction that reads first could be refused at its
    // first write, without a wait, when another process has written in between.
    sqlite3_busy_timeout(m_database, kWriteTimeout);
    auto result = execute("BEGIN IMMEDIATE");
    if (result) {
        result = changes();
        if (result)
            result = execute("COMMIT");
        if (!result && sqlite3_get_autocommit(m_database) == 0)
            static_cast<void>(execute("ROLLBACK"));
    }
    sqlite3_busy_timeout(m_database, kReadTimeout);
    return result;
}

RegistryResult<RegistryDatabase::KeyRow> RegistryDatabase::ensureRow(const QString& key)
{
    auto found = findRow(key);
    if (!found)
        return std::unexpected(found.error());
    if (*found)
        return **found;

    KeyRow row{0, key};
    std::optional<qint64> parentId;
    if (const int separator = key.lastIndexOf(QLatin1Char('\\')); separator >= 0) {
        const auto parent = ensureRow(key.left(separator));
        if (!parent)
            return parent;
        // Keep the spelling in which the parent was first written.
        row.path = parent->path + key.mid(separator);
        parentId = parent->id;
    }
    Query insert(*this, "INSERT INTO registry_key(folded, path, parent) VALUES(?, ?, ?)");
    insert.bind(folded(key)).bind(row.path);
    if (parentId)
        insert.bind(*parentId);
    insert.next();
    if (insert.failed())
        return failure();
    row.id = sqlite3_last_insert_rowid(m_database);
    return row;
}

RegistryResult<void> RegistryDatabase::createKey(const QString& key)
{
    const auto row = ensureRow(key);
    return row ? RegistryResult<void>() : std::unexpected(row.error());
}

RegistryResult<void> RegistryDatabase::setValue(const QString& key, const RegistryValue& value)
{
    const QString* const text = std::get_if<QString>(&value.data);
    if (value.name.size() > kMaximumValueName || (text != nullptr && text->size() > kMaximumString))
        return std::unexpected(
            QStringLiteral("The value '%1' is too long for a registry").arg(value.name.left(255)));
    const auto row = ensureRow(key);
    if (!row)
        return std::unexpected(row.error());
    Query query(*this, "INSERT INTO registry_value(key, folded, name, type, data) "
                       "VALUES(?, ?, ?, ?, ?) ON CONFLICT DO UPDATE "
                       "SET type = excluded.type, data = excluded.data");
    query.bind(row->id).bind(folded(value.name)).bind(value.name);
    query.bind(qint64{kTypeNumbers.at(value.data.index())}).bind(value.data).next();
    if (query.failed())
        return failure();
    return {};
}

RegistryResult<bool> RegistryDatabase::deleteValue(const QString& key, const QString& name)
{
    Query query(*this, "DELETE FROM registry_value "
                       "WHERE key = (SELECT id FROM registry_key WHERE folded = ?) AND folded = ?");
    query.bind(folded(key)).bind(folded(name)).next();
    if (query.failed())
        return failure();
    return sqlite3_changes(m_database) > 0;
}

RegistryResult<bool> RegistryDatabase::deleteKey(const QString& key)
{
    Query query(*this, "DELETE FROM registry_key WHERE folded = ?");
    query.bind(folded(key)).next();
    if (query.failed())
        return failure();
    return sqlite3_changes(m_database) > 0;
}

} // namespace korvex::platform
