#include "platform/fault_recorder.h"
#include "platform/posix/registry_database.h"
#include "platform/posix/user_sid.h"
#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QDir>
#include <QtTest>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using korvex::platform::RegistryDatabase;
using korvex::platform::RegistryKey;
using korvex::platform::RegistryResult;
using korvex::test::FaultRecorder;

namespace {

const QString kPath = QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Test");
const QString kName = QStringLiteral("value");

/// The registry file below the current root, with enough in it to need many pages, and closed.
QString makeRegistry()
{
    const QString file = RegistryDatabase::defaultPath();
    auto database = RegistryDatabase::openOrCreate(file);
    if (!database)
        qFatal("%s", qPrintable(database.error()));
    const auto filled = (*database)->change([&]() -> RegistryResult<void> {
        for (quint32 index = 0; index < 300; ++index) {
            const QString name = QStringLiteral("%1 %2").arg(kName).arg(index);
            const QString text(100, QLatin1Char('x'));
            if (auto set = (*database)->setValue(kPath, {name, text}); !set)
                return set;
        }
        return (*database)->setValue(kPath, {kName, quint32{7}});
    });
    if (!filled)
        qFatal("%s", qPrintable(filled.error()));
    return file;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool replaceContent(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

mode_t modeOf(const QString& path)
{
    struct stat status{};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777u : 0;
}

/// Whether this process has a file open.
bool hasOpen(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    const auto descriptors = QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files);
    return std::any_of(descriptors.begin(), descriptors.end(), [&](const QFileInfo& descriptor) {
        return descriptor.symLinkTarget() == canonical;
    });
}

/// Holds the registry file as a program does that locks it against every other use.
class FileLock
{
public:
    explicit FileLock(const QString& path)
    {
        m_isHeld = sqlite3_open(QFile::encodeName(path).constData(), &m_database) == SQLITE_OK &&
                   sqlite3_exec(m_database, "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE",
                                nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    ~FileLock() { sqlite3_close(m_database); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool isHeld() const { return m_isHeld; }

private:
    sqlite3* m_database = nullptr;
    bool m_isHeld = false;
};

/// Lets no file of this process grow beyond `size`, as a full disk would not.
class FullDisk
{
public:
    explicit FullDisk(rlim_t size)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{.rlim_cur = size, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_before{};
};

} // namespace

class TestRegistryPosix : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void readingMakesNothing();
    void madeForTheOwnerAlone();
    void currentUserKey();
    void damagedFile_data();
    void damagedFile();
    void lockedFile();
    void waitsForALock();
    void fileInPlaceOfTheFolder_data();
    void fileInPlaceOfTheFolder();
    void fullDiskAtCreation();
    void fullDiskAtAWrite();
    void replacedFile();
    void forkedProcess();
    void failedChangeKeepsNothing();
    void limitsOfKeys();

private:
    std::optional<korvex::test::TemporaryRoot> m_root;
};

void TestRegistryPosix::readingMakesNothing()
{
    FaultRecorder faults;
    const QString folder = m_root->path() + QStringLiteral("/not/yet");
    qputenv("KORVEX_ROOT", folder.toLocal8Bit());
    QVERIFY(!RegistryKey(kPath).readNumber(kName));
    QCOMPARE(RegistryKey(kPath).subKeys(), QStringList());
    QVERIFY(!QFile::exists(m_root->path() + QStringLiteral("/not")));
    QCOMPARE(faults.take(), QStringList());
}

void TestRegistryPosix::madeForTheOwnerAlone()
{
    const mode_t before = ::umask(0);
    const QString folder = m_root->path() + QStringLiteral("/made");
    qputenv("KORVEX_ROOT", folder.toLocal8Bit());
    QVERIFY(RegistryKey(kPath).writeNumber(kName, 7));
    ::umask(before);

    QCOMPARE(modeOf(folder), mode_t{0700});
    const QStringList files = QDir(folder).entryList(QDir::Files);
    QVERIFY(files.contains(QStringLiteral("registry.db")));
    for (const QString& file : files)
        QCOMPARE(modeOf(folder + QLatin1Char('/') + file), mode_t{0600});
}

void TestRegistryPosix::currentUserKey()
{
    QVERIFY(RegistryKey(QStringLiteral("HKEY_CURRENT_USER\\Test")).writeNumber(kName, 7));
    QVERIFY(!RegistryKey(QStringLiteral("HKEY_LOCAL_MACHINE\\Test")).readNumber(kName));
    auto database = RegistryDatabase::open(RegistryDatabase::defaultPath());
    QVERIFY(database && *database);
    const auto value = (*database)->value(
        QStringLiteral("HKEY_USERS\\%1\\Test").arg(korvex::platform::userSid(::getuid())), kName);
    QVERIFY(value && *value);
}

void TestRegistryPosix::damagedFile_data()
{
    QTest::addColumn<int>("keepBytes");
    QTest::addColumn<QByteArray>("thenBytes");
    QTest::newRow("no registry at all") << 0 << QByteArray(10000, 'x');
    QTest::newRow("empty") << 0 << QByteArray();
    QTest::newRow("cut short") << 20000 << QByteArray();
    QTest::newRow("overwritten behind the first page") << 4096 << QByteArray(200000, 'x');
    QTest::newRow("header only") << 100 << QByteArray();
}

void TestRegistryPosix::damagedFile()
{
    QFETCH(int, keepBytes);
    QFETCH(QByteArray, thenBytes);
    const QString file = makeRegistry();
    const QByteArray whole = contentOf(file);
    QVERIFY(whole.size() > 40000);
    const QByteArray damaged = whole.left(keepBytes) + thenBytes;
    QVERIFY(replaceContent(file, damaged));

    FaultRecorder faults;
    const RegistryKey key(kPath);
    QVERIFY(!key.readNumber(kName));
    const QStringList heard = faults.take();
    QCOMPARE(heard.size(), 1);
    QVERIFY2(heard.first().contains(file), qPrintable(heard.first()));
    QVERIFY(!heard.first().contains(QLatin1Char('\n')));
    QVERIFY(!key.writeNumber(QStringLiteral("another"), 1));
    QVERIFY(!key.create());
    QCOMPARE(contentOf(file), damaged);

    // Once it is repaired, the same process reads it.
    QFile::remove(file);
    QVERIFY(replaceContent(file, whole));
    QCOMPARE(key.readNumber(kName), std::optional(7));
}

void TestRegistryPosix::lockedFile()
{
    const QString file = makeRegistry();
    const RegistryKey key(kPath);
    FaultRecorder faults;
    {
        const FileLock lock(file);
        QVERIFY(lock.isHeld());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!key.readNumber(kName));
        QVERIFY2(timer.elapsed() < 3000, "a read waits about one second at most");
        const QStringList heard = faults.take();
        QCOMPARE(heard.size(), 1);
        QVERIFY2(heard.first().contains(file) && heard.first().contains(QStringLiteral("locked")),
                 qPrintable(heard.first()));
        QVERIFY(!key.writeNumber(kName, 8));
        QVERIFY2(timer.elapsed() < 15000, "a write waits about ten seconds at most");
    }
    QCOMPARE(key.readNumber(kName), std::optional(7));
    QVERIFY(key.writeNumber(kName, 8));
}

void TestRegistryPosix::waitsForALock()
{
    const QString file = makeRegistry();
    auto lock = std::make_unique<FileLock>(file);
    QVERIFY(lock->isHeld());
    bool written = false;
    std::thread writer([&written] { written = RegistryKey(kPath).writeNumber(kName, 8); });
    // Long enough for the writer to meet the lock; were it later, this would test less, not fail.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    lock.reset();
    writer.join();
    QVERIFY(written);
    QCOMPARE(RegistryKey(kPath).readNumber(kName), std::optional(8));
}

void TestRegistryPosix::fileInPlaceOfTheFolder_data()
{
    QTest::addColumn<QString>("below");
    QTest::newRow("of the root") << QString();
    QTest::newRow("of its parent") << QStringLiteral("/root");
}

void TestRegistryPosix::fileInPlaceOfTheFolder()
{
    QFETCH(QString, below);
    const QString file = m_root->path() + QStringLiteral("/file");
    QVERIFY(replaceContent(file, "x"));
    qputenv("KORVEX_ROOT", (file + below).toLocal8Bit());
    FaultRecorder faults;
    QVERIFY(!RegistryKey(kPath).readNumber(kName));
    QCOMPARE(faults.take().size(), 1);
    QVERIFY(!RegistryKey(kPath).writeNumber(kName, 7));
    QCOMPARE(contentOf(file), QByteArray("x"));
}

void TestRegistryPosix::fullDiskAtCreation()
{
    FaultRecorder faults;
    const RegistryKey key(kPath);
    {
        const FullDisk disk(8000);
        QVERIFY(!key.writeNumber(kName, 7));
    }
    const QStringList heard = faults.take();
    QCOMPARE(heard.size(), 1);
    QVERIFY2(heard.first().contains(RegistryDatabase::defaultPath()), qPrintable(heard.first()));
    QCOMPARE(QDir(m_root->path()).entryList(QDir::Files | QDir::Hidden), QStringList());
    QVERIFY(key.writeNumber(kName, 7));
}

void TestRegistryPosix::fullDiskAtAWrite()
{
    makeRegistry();
    const RegistryKey key(kPath);
    QVERIFY(key.writeString(QStringLiteral("text"), QStringLiteral("kept")));
    const QString large(200000, QLatin1Char('y'));
    FaultRecorder faults;
    {
        const FullDisk disk(100000);
        QVERIFY(!key.writeString(QStringLiteral("text"), large));
        QCOMPARE(faults.take().size(), 1);
        QCOMPARE(key.readString(QStringLiteral("text")), std::optional(QStringLiteral("kept")));
        QCOMPARE(key.readNumber(kName), std::optional(7));
    }
    QVERIFY(key.writeString(QStringLiteral("text"), large));
    QCOMPARE(key.readString(QStringLiteral("text")), std::optional(large));
}

void TestRegistryPosix::replacedFile()
{
    const QString file = makeRegistry();
    const QString copy = file + QStringLiteral(".copy");
    QVERIFY(QFile::copy(file, copy));
    const RegistryKey key(kPath);
    QVERIFY(key.writeNumber(kName, 8));
    QCOMPARE(key.readNumber(kName), std::optional(8));

    // The file alone in place of it and its log, as from a backup.
    QFile::remove(file + QStringLiteral("-wal"));
    QFile::remove(file + QStringLiteral("-shm"));
    QCOMPARE(std::rename(QFile::encodeName(copy), QFile::encodeName(file)), 0);
    QCOMPARE(key.readNumber(kName), std::optional(7));

    for (const char* const suffix : {"", "-wal", "-shm"})
        QFile::remove(file + QLatin1String(suffix));
    QVERIFY(!key.readNumber(kName));
    QVERIFY(key.writeNumber(kName, 9));
    QCOMPARE(key.readNumber(kName), std::optional(9));
}

void TestRegistryPosix::forkedProcess()
{
    const RegistryKey key(kPath);
    QVERIFY(key.writeNumber(kName, 7));
    QVERIFY(hasOpen(RegistryDatabase::defaultPath()));
    const pid_t child = ::fork();
    if (child == 0) {
        // A connection that both had open would let each release the locks of the other.
        const bool isClosed = !hasOpen(RegistryDatabase::defaultPath());
        const bool right = key.readNumber(kName) == 7 && key.writeNumber(kName, 8);
        ::_exit(isClosed && right ? 0 : 1);
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
    QCOMPARE(key.readNumber(kName), std::optional(8));
    QVERIFY(key.writeNumber(kName, 9));
}

void TestRegistryPosix::failedChangeKeepsNothing()
{
    auto database = RegistryDatabase::openOrCreate(RegistryDatabase::defaultPath());
    QVERIFY(database && *database);
    const auto changed = (*database)->change([&]() -> RegistryResult<void> {
        if (auto set = (*database)->setValue(kPath, {kName, quint32{1}}); !set)
            return set;
        return std::unexpected(QStringLiteral("on purpose"));
    });
    QVERIFY(!changed);
    QCOMPARE(changed.error(), QStringLiteral("on purpose"));
    const auto found = (*database)->findKey(kPath);
    QVERIFY(found && !*found);
}

void TestRegistryPosix::limitsOfKeys()
{
    FaultRecorder faults;
    const QString level = QStringLiteral("\\x");
    const RegistryKey deepest(kPath + level.repeated(512 - 3));
    QVERIFY(deepest.writeNumber(kName, 7));
    QCOMPARE(deepest.readNumber(kName), std::optional(7));
    QVERIFY(!RegistryKey(deepest.path() + level).create());
    const QString longest(255, QLatin1Char('n'));
    QVERIFY(RegistryKey(kPath + QLatin1Char('\\') + longest).create());
    QVERIFY(!RegistryKey(kPath + QLatin1Char('\\') + longest + QLatin1Char('n')).create());

    // All levels go with the first.
    auto database = RegistryDatabase::open(RegistryDatabase::defaultPath());
    QVERIFY(database && *database);
    const auto changed = (*database)->change([&]() -> RegistryResult<void> {
        const auto deleted = (*database)->deleteKey(kPath);
        return deleted && *deleted ? RegistryResult<void>() : std::unexpected(QString());
    });
    QVERIFY(changed);
    QVERIFY(!deepest.readNumber(kName));
}

QTEST_GUILESS_MAIN(TestRegistryPosix)

#include "tst_registry_posix.moc"
