#include "platform/accounts.h"
#include "platform/append_file.h"
#include "platform/library.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QSettings>
#include <QSysInfo>
#include <QtTest>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform = korvex::platform;

namespace {

/// Opens a file, which must not become a standard stream that the host left closed. Then writes
/// 100 kB, more than a pipe holds, whatever becomes of the reader.
int useStandardStreams()
{
    platform::reserveStandardStreams();
    const int opened = ::open("/dev/null", O_RDONLY);
    for (int line = 0; line < 100; ++line)
        platform::writeStandardOutput(QByteArray(1000, 'x') + '\n');
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    return opened <= STDERR_FILENO || sigismember(&blocked, SIGPIPE) == 1; // it was not
}

} // namespace

class TestSystemPosix : public QObject
{
    Q_OBJECT

private slots:
    void accounts();
    void rootFolder();
    void modeOfAnAppendedFile();
    void standardStreams();
    void pinnedLibraryStays();
    void initialQtConf();

private:
    korvex::test::TemporaryRoot m_root;
};

void TestSystemPosix::accounts()
{
    const QString machine = QSysInfo::machineHostName().section('.', 0, 0).toUpper();
    for (const QString& account : {QString("root"), machine + "\\root", QString(".\\root")})
        QCOMPARE(platform::accountSid(account).value_or(account), QString("S-1-22-1-0"));
    for (const char* const account : {"CONTOSO\\root", "ROOT", "0"})
        QVERIFY2(!platform::accountSid(account), account);
}

void TestSystemPosix::rootFolder()
{
    const QByteArray before = qgetenv("KORVEX_ROOT");
    qputenv("KORVEX_ROOT", "/some//where/");
    QCOMPARE(platform::dataRoot(), QString("/some/where/ProgramData/Korvex/Logon"));
    qputenv("KORVEX_ROOT", "");
    QCOMPARE(platform::dataRoot(), QString("/var/lib/korvex/ProgramData/Korvex/Logon"));
    qputenv("KORVEX_ROOT", before);
}

void TestSystemPosix::modeOfAnAppendedFile()
{
    const mode_t before = ::umask(0);
    QFile file(m_root.path() + "/new.log");
    QVERIFY(platform::openForAppending(file));
    ::umask(before);
    QCOMPARE(file.permissions() & QFile::Permissions(0x0077), QFile::ReadGroup);
}

void TestSystemPosix::standardStreams()
{
    // In the scripts, $USE runs the function above.
    const QByteArray program = QFile::encodeName(QCoreApplication::applicationFilePath());
    qputenv("USE", '\'' + program + "' --streams");
    // All streams are closed; the reader has gone; the reader, the script itself, stands still.
    for (const char* const script :
         {"eval $USE '<&- >&- 2>&-'", "eval $USE | head -n 1 >/dev/null; exit ${PIPESTATUS[0]}",
          "exec 3<> <(:); eval $USE '>&3'"})
        QVERIFY2(QProcess::execute("timeout", {"20", "bash", "-c", script}) == 0, script);
}

void TestSystemPosix::pinnedLibraryStays()
{
    void* const handle = ::dlopen(PINNED_MODULE, RTLD_NOW | RTLD_LOCAL);
    QVERIFY(reinterpret_cast<bool (*)()>(::dlsym(handle, "pinModule"))());
    QCOMPARE(::dlclose(handle), 0);
    QVERIFY(::dlopen(PINNED_MODULE, RTLD_NOW | RTLD_NOLOAD) != nullptr);
}

void TestSystemPosix::initialQtConf()
{
    // A copy of this program whose Qt is elsewhere, under names that an ini file has to escape.
    const QString folder = m_root.path() + '/';
    QSettings conf(folder + "qt.conf", QSettings::IniFormat);
    for (const char* const name : {"Prefix", "Plugins", "LibraryExecutables", "Data",
                                   "Translations", "Imports", "Qml2Imports"})
        conf.setValue(QString("Paths/") + name, QStringLiteral("/\"a\\b\" ż1; ,=%/") + name);
    conf.sync();
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), folder + "copy"));
    QCOMPARE(QProcess::execute(folder + "copy", {folder + "written.conf"}), 0);
    const QSettings read(folder + "written.conf", QSettings::IniFormat);
    for (const QString& key : conf.allKeys())
        QCOMPARE(read.value(key), conf.value(key));
}

int main(int argc, char** argv)
{
    const QByteArray task = argv[argc - 1];
    if (task == "--streams")
        return useStandardStreams();
    const QCoreApplication application(argc, argv);
    if (task.endsWith(".conf"))
        return korvex::test::writeFile(task, platform::initialQtConf()) ? 0 : 1;
    TestSystemPosix test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_system_posix.moc"
