#include "platform/registry.h"

#include "platform/fault_report.h"
#include "platform/posix/registry_database.h"

#include <QFile>
#include <cerrno>
#include <mutex>
#include <pthread.h>
#include <sys/stat.h>
#include <type_traits>
#include <utility>

namespace korvex::platform {

namespace {

/// The connection that all keys of this process share: opening one costs many times a read.
class SharedDatabase
{
public:
    /// Never destroyed, so that the registry can be read until the process has ended.
    static SharedDatabase& instance();

    std::mutex& mutex() { return m_mutex; }
    /// The open connection; null when the file is missing and `create` is false.
    RegistryResult<RegistryDatabase*> connection(bool create);
    void close() { m_database.reset(); }

private:
    std::mutex m_mutex;
    std::unique_ptr<RegistryDatabase> m_database;
    QString m_file;
    struct stat m_status{};
};

SharedDatabase& SharedDatabase::instance()
{
    static SharedDatabase* const shared = [] {
        // A connection must not be open across a fork: parent and child would each release the
        // file locks that the other relies on.
        pthread_atfork(
            [] {
                instance().mutex().lock();
                instance().close();
            },
            [] { instance().mutex().unlock(); }, [] { instance().mutex().unlock(); });
        return new SharedDatabase;
    }();
    return *shared;
}

RegistryResult<RegistryDatabase*> SharedDatabase::connection(bool create)
{
    const QString file = RegistryDatabase::defaultPath();
    struct stat status{};
    const bool exists = ::stat(QFile::encodeName(file).constData(), &status) == 0;
    if (!exists && errno == ENOENT && !create) {
        close();
        return nullptr;
    }
    // Keep the connection only while the path still leads to the same file: it may have been
    // replaced.
    if (m_database != nullptr && exists && file == m_file && status.st_dev == m_status.st_dev &&
        status.st_ino == m_status.st_ino)
        return m_database.get();
    close();
    auto opened = create ? RegistryDatabase::openOrCreate(file) : RegistryDatabase::open(file);
    if (!opened)
        return std::unexpected(opened.error());
    m_database = *std::move(opened);
    m_file = file;
    m_status = status;
    return m_database.get();
}

/// Runs `operation` on the connection and returns its result. Nothing when it failed, which is
/// reported as a fault, and when there is no file to read.
template <typename Operation>
auto run(const RegistryKey& key, bool create, Operation operation) -> std::optional<
    typename std::invoke_result_t<Operation, RegistryDatabase&, QString>::value_type>
{
    const auto path = storedKeyPath(key.path());
    if (!path) {
        reportFault(QStringLiteral("'%1' cannot be the path of a registry key").arg(key.path()));
        return std::nullopt;
    }
    SharedDatabase& shared = SharedDatabase::instance();
    const std::lock_guard lock(shared.mutex());
    const auto database = shared.connection(create);
    if (database && *database == nullptr)
        return std::nullopt;
    auto result = database ? operation(**database, *path) : std::unexpected(database.error());
    if (result)
        return *std::move(result);
    // The next call opens the file again, whatever was wrong with it.
    shared.close();
    reportFault(result.error());
    return std::nullopt;
}

std::optional<RegistryData> read(const RegistryKey& key, const QString& name)
{
    const auto found = run(key, false, [&name](RegistryDatabase& database, const QString& path) {
        return database.value(path, name);
    });
    return found.value_or(std::nullopt);
}

template <typename T>
std::optional<T> readAs(const RegistryKey& key, const QString& name)
{
    auto data = read(key, name);
    T* const value = data ? std::get_if<T>(&*data) : nullptr;
    return value != nullptr ? std::optional(std::move(*value)) : std::nullopt;
}

bool write(const RegistryKey& key, const QString& name, const RegistryData& data)
{
    const auto written = run(
        key, true, [&](RegistryDatabase& database, const QString& path) -> RegistryResult<bool> {
            const auto result =
                database.change([&] { return database.setValue(path, {name, data}); });
            return result ? RegistryResult<bool>(true) : std::unexpected(result.error());
        });
    return written.has_value();
}

} // namespace

RegistryKey::RegistryKey(QString path)
    : m_path(std::move(path))
{}

std::optional<QString> RegistryKey::readString(const QString& name) const
{
    return readAs<QString>(*this, name);
}

std::optional<qint32> RegistryKey::readNumber(const QString& name) const
{
    const auto number = readAs<quint32>(*this, name);
    return number ? std::optional(static_cast<qint32>(*number)) : std::nullopt;
}

std::optional<qint64> RegistryKey::readNumber64(const QString& name) const
{
    const auto data = read(*this, name);
    if (!data || std::holds_alternative<QString>(*data))
        return std::nullopt;
    const bool isWide = std::holds_alternative<quint64>(*data);
    return static_cast<qint64>(isWide ? std::get<quint64>(*data) : std::get<quint32>(*data));
}

std::optional<bool> RegistryKey::readBool(const QString& name) const
{
    const auto number = readAs<quint32>(*this, name);
    return number ? std::optional(*number != 0) : std::nullopt;
}

bool RegistryKey::writeString(const QString& name, const QString& value) const
{
    return write(*this, name, value);
}

bool RegistryKey::writeNumber(const QString& name, qint32 value) const
{
    return write(*this, name, static_cast<quint32>(value));
}

bool RegistryKey::writeNumber64(const QString& name, qint64 value) const
{
    return write(*this, name, static_cast<quint64>(value));
}

QStringList RegistryKey::subKeys() const
{
    return run(*this, false,
               [](RegistryDatabase& database, const QString& path) {
                   return database.subKeys(path);
               })
        .value_or(QStringList());
}

} // namespace korvex::platform
