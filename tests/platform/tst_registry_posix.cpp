#include "platform/fault_recorder.h"
#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QDir>
#include <QtTest>
#include <csignal>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

using namespace korvex::test;
using korvex::platform::RegistryKey;

class TestRegistryPosix : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_root.emplace();
        m_file = m_root->path() + "/registry.db";
    }

    void firstUse();
    void damagedFile();
    void lockedFile();
    void fullDisk();

private:
    /// Fills the registry, over many pages, and closes it by looking for another one.
    void fill() const
    {
        QVERIFY(m_key.writeNumber("value", 7));
        QVERIFY(m_key.writeString("text", QString(20'000, 'x')));
        qputenv("KORVEX_ROOT", QFile::encodeName(m_root->path() + "/none"));
        QVERIFY(!m_key.readNumber("value"));
        qputenv("KORVEX_ROOT", QFile::encodeName(m_root->path()));
    }

    std::optional<TemporaryRoot> m_root;
    QString m_file;
    const RegistryKey m_key{"HKEY_LOCAL_MACHINE\\SOFTWARE\\Test"};
};

void TestRegistryPosix::firstUse()
{
    FaultRecorder faults;
    const QString folder = m_root->path() + "/not/yet";
    qputenv("KORVEX_ROOT", folder.toLocal8Bit());
    QVERIFY(!m_key.readNumber("value"));
    QVERIFY2(QDir(m_root->path()).isEmpty(), "reading makes nothing");
    QCOMPARE(faults.take(), QStringList());

    const mode_t before = ::umask(0);
    QVERIFY(m_key.writeNumber("value", 7));
    ::umask(before);
    QVERIFY(!RegistryKey("HKEY_CURRENT_USER\\SOFTWARE\\Test").readNumber("value"));
    constexpr QFile::Permissions kOthers(0x0077);
    for (const QString& path : {folder, folder + "/registry.db"})
        QCOMPARE(QFile::permissions(path) & kOthers, QFile::Permissions());
}

void TestRegistryPosix::damagedFile()
{
    fill();
    const QByteArray whole = contentOf(m_file);
    for (const QByteArray& damaged :
         {QByteArray(), whole.left(4096) + QByteArray(100'000, 'x')}) { // the first page is good
        QVERIFY2(m_key.writeNumber("value", 8), "the file is open while it is damaged");
        for (const char* const suffix : {"", "-wal", "-shm"})
            QFile::remove(m_file + suffix);
        QVERIFY(writeFile(m_file, damaged));

        FaultRecorder faults;
        QVERIFY(!m_key.readNumber("value"));
        QVERIFY(faults.take().join('\n').contains(m_file));
        QVERIFY(!m_key.writeNumber("another", 1));
        QCOMPARE(contentOf(m_file), damaged);

        // Once it is repaired, the same process reads it.
        QVERIFY(QFile::remove(m_file) && writeFile(m_file, whole));
        QCOMPARE(m_key.readNumber("value"), std::optional(7));
    }
}

void TestRegistryPosix::lockedFile()
{
    fill();
    sqlite3* other = nullptr;
    sqlite3_open(QFile::encodeName(m_file).constData(), &other);
    QCOMPARE(sqlite3_exec(other, "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE", nullptr,
                          nullptr, nullptr),
             SQLITE_OK);
    const std::jthread release([other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        sqlite3_close(other);
    });
    FaultRecorder faults;
    QVERIFY2(!m_key.readNumber("value"), "a read waits about one second at most");
    QCOMPARE(faults.take().size(), 1);
    QVERIFY2(m_key.writeNumber("value", 8), "a write waits longer than a read does");
}

void TestRegistryPosix::fullDisk()
{
    // No file of this process grows any further, as on a full disk.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{8000, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const bool written = m_key.writeNumber("value", 7);
    setrlimit(RLIMIT_FSIZE, &before);
    QVERIFY(!written);
    QVERIFY2(QDir(m_root->path()).isEmpty(), "no half a registry stays");
}

QTEST_GUILESS_MAIN(TestRegistryPosix)
#include "tst_registry_posix.moc"
