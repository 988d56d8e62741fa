#include "platform/accounts.h"
#include "platform/append_file.h"
#include "platform/library.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "support/temporary_root.h"

#include <QDir>
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

/// Writes 100 kB, more than a pipe holds, whatever becomes of the reader.
int writeLines()
{
    for (int line = 0; line < 100; ++line)
        platform::writeStandardOutput(QByteArray(1000, 'x') + '\n');
    // The signal is as it was: neither blocked nor waiting.
    sigset_t blocked;
    sigset_t waiting;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    sigpending(&waiting);
    return sigismember(&blocked, SIGPIPE) | sigismember(&waiting, SIGPIPE);
}

/// Opens a file with the standard streams as the host left them; it must not become one of them.
int openAFile()
{
    platform::reserveStandardStreams();
    const int opened = ::open("/dev/null", O_RDONLY);
    platform::writeStandardOutput("text that nobody reads\n");
    return opened > STDERR_FILENO ? 0 : 1;
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
    QStringList roots;
    for (const char* const named : {"/some//where/", "here", ""}) {
        qputenv("KORVEX_ROOT", named);
        roots.append(platform::dataRoot().remove("/ProgramData/Korvex/Logon"));
    }
    qputenv("KORVEX_ROOT", before);
    QCOMPARE(roots, (QStringList{"/some/where", QDir::currentPath() + "/here", "/var/lib/korvex"}));
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
    // In the scripts, $OPEN and $WRITE run the functions above.
    const QByteArray program = '\'' + QFile::encodeName(QCoreApplication::applicationFilePath());
    qputenv("OPEN", program + "' --open");
    qputenv("WRITE", program + "' --write");
    // All streams are closed; the reader has gone; the reader, the script itself, stands still.
    for (const char* const script :
         {"eval $OPEN '<&- >&- 2>&-'", "eval $WRITE | head -n 1 >/dev/null; exit ${PIPESTATUS[0]}",
          "exec 3<> <(:); eval $WRITE '>&3'"})
        QVERIFY2(QProcess::execute("timeout", {"20", "bash", "-c", script}) == 0, script);
}

void TestSystemPosix::pinnedLibraryStays()
{
    const auto isLoaded = [] { return ::dlopen(PINNED_MODULE, RTLD_NOW | RTLD_NOLOAD) != nullptr; };
    void* const handle = ::dlopen(PINNED_MODULE, RTLD_NOW | RTLD_LOCAL);
    QVERIFY(reinterpret_cast<bool (*)()>(::dlsym(handle, "pinModule"))());
    QCOMPARE(::dlclose(handle), 0);
    QVERIFY(isLoaded());
}

void TestSystemPosix::initialQtConf()
{
    // A copy of this program whose Qt is elsewhere, under names that an ini file has to escape.
    const QDir folder(m_root.path());
    QSettings conf(folder.filePath("qt.conf"), QSettings::IniFormat);
    for (const char* const name : {"Prefix", "Plugins", "LibraryExecutables", "Data",
                                   "Translations", "Imports", "Qml2Imports"})
        conf.setValue(QString("Paths/") + name, QStringLiteral("/\"a\\b\" ż1; ,=%/") + name);
    conf.sync();
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), folder.filePath("copy")));
    QProcess copy;
    copy.start(folder.filePath("copy"), {"--qt-conf"});
    QVERIFY(copy.waitForFinished());
    const QString written = folder.filePath("written.conf");
    QVERIFY(korvex::test::writeFile(written, copy.readAll()));
    const QSettings read(written, QSettings::IniFormat);
    QCOMPARE(read.allKeys(), conf.allKeys());
    for (const QString& key : read.allKeys())
        QCOMPARE(read.value(key), conf.value(key));
}

int main(int argc, char** argv)
{
    const QByteArrayList arguments(argv, argv + argc);
    if (arguments.value(1) == "--open")
        return openAFile();
    if (arguments.value(1) == "--write")
        return writeLines();
    const QCoreApplication application(argc, argv);
    if (arguments.value(1) == "--qt-conf") {
        platform::writeStandardOutput(platform::initialQtConf());
        return 0;
    }
    TestSystemPosix test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_system_posix.moc"
