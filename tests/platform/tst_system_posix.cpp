#include "platform/accounts.h"
#include "platform/append_file.h"
#include "platform/library.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "support/temporary_root.h"

#include <QDir>
#include <QLibraryInfo>
#include <QProcess>
#include <QSettings>
#include <QSysInfo>
#include <QtTest>
#include <array>
#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform = korvex::platform;

namespace {

constexpr std::array kLocations{QLibraryInfo::PrefixPath,
                                QLibraryInfo::PluginsPath,
                                QLibraryInfo::LibraryExecutablesPath,
                                QLibraryInfo::DataPath,
                                QLibraryInfo::TranslationsPath,
                                QLibraryInfo::ImportsPath,
                                QLibraryInfo::Qml2ImportsPath};

QByteArray outputOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput().trimmed();
}

QString ownSid()
{
    return QStringLiteral("S-1-22-1-") +
           QString::fromLatin1(outputOf(QStringLiteral("id"), {QStringLiteral("-u")}));
}

QString ownName()
{
    return QString::fromLocal8Bit(outputOf(QStringLiteral("id"), {QStringLiteral("-un")}));
}

/// A program for a shell to run this program in one of the roles below.
QString roleCommand(const QString& role)
{
    return QStringLiteral("'%1' --role %2").arg(QCoreApplication::applicationFilePath(), role);
}

/// Writes lines until the end, whatever becomes of the reader.
int writeLines()
{
    for (int line = 0; line < 100; ++line)
        platform::writeStandardOutput(QByteArray(1000, 'x') + '\n');
    // The signal is as it was: neither blocked nor waiting.
    sigset_t blocked;
    sigset_t waiting;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    sigpending(&waiting);
    return sigismember(&blocked, SIGPIPE) == 0 && sigismember(&waiting, SIGPIPE) == 0 ? 0 : 1;
}

/// Opens a file with the standard streams as the host left them; it must not become one of them.
int openAFile()
{
    platform::reserveStandardStreams();
    const int opened = ::open("/dev/null", O_RDONLY);
    struct stat status{};
    const bool usable = ::fstat(STDIN_FILENO, &status) == 0 &&
                        ::fstat(STDOUT_FILENO, &status) == 0 &&
                        ::fstat(STDERR_FILENO, &status) == 0;
    platform::writeStandardOutput("text that nobody reads\n");
    return opened > STDERR_FILENO && usable ? 0 : 1;
}

/// As the library does it: names its own place, then builds the application.
int showLocations(const char* path)
{
    if (!platform::setApplicationFilePath(QFile::decodeName(path)))
        return 1;
    QFile conf(QFileInfo(QFile::decodeName(path)).path() + QStringLiteral("/qt.conf"));
    if (!conf.open(QIODevice::NewOnly) || conf.write(platform::initialQtConf()) <= 0)
        return 2;
    conf.close();
    int argc = 1;
    QByteArray name(path);
    char* argv[] = {name.data(), nullptr};
    const QCoreApplication application(argc, argv);
    std::puts(qPrintable(QCoreApplication::applicationDirPath()));
    for (const auto location : kLocations)
        std::puts(qPrintable(QLibraryInfo::location(location)));
    return 0;
}

/// What a further qt.conf would hold for a program whose own one is beside `path`.
int showConf(const char* path)
{
    platform::setApplicationFilePath(QFile::decodeName(path));
    int argc = 1;
    QByteArray name(path);
    char* argv[] = {name.data(), nullptr};
    const QCoreApplication application(argc, argv);
    std::fputs(platform::initialQtConf().constData(), stdout);
    return 0;
}

} // namespace

class TestSystemPosix : public QObject
{
    Q_OBJECT

private slots:
    void accounts_data();
    void accounts();
    void nameOfTheMachine();
    void rootFolder_data();
    void rootFolder();
    void modeOfAnAppendedFile();
    void argumentString();
    void closedStandardStreams_data();
    void closedStandardStreams();
    void readerThatHasGone();
    void readerThatStandsStill();
    void textToAFile();
    void locationsBesideTheLibrary();
    void confOfAnOddPlace();
    void pinnedLibraryStays();

private:
    korvex::test::TemporaryRoot m_root;
};

void TestSystemPosix::accounts_data()
{
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("sid");
    const QString machine = QSysInfo::machineHostName().section(QLatin1Char('.'), 0, 0);
    QTest::newRow("root") << QStringLiteral("root") << QStringLiteral("S-1-22-1-0");
    QTest::newRow("own name") << ownName() << ownSid();
    QTest::newRow("of this machine")
        << machine.toUpper() + QLatin1Char('\\') + ownName() << ownSid();
    QTest::newRow("of the local domain")
        << QStringLiteral(".\\root") << QStringLiteral("S-1-22-1-0");
    QTest::newRow("of another domain") << QStringLiteral("CONTOSO\\root") << QString();
    QTest::newRow("in other case") << QStringLiteral("ROOT") << QString();
    QTest::newRow("number") << QStringLiteral("0") << QString();
    QTest::newRow("path") << QStringLiteral(".\\.\\root") << QString();
    QTest::newRow("no name") << QStringLiteral(".\\") << QString();
}

void TestSystemPosix::accounts()
{
    QFETCH(QString, account);
    QTEST(platform::accountSid(account).value_or(QString()), "sid");
}

void TestSystemPosix::nameOfTheMachine()
{
    const auto name = platform::computerName();
    QVERIFY(name);
    QCOMPARE(*name, QSysInfo::machineHostName().section(QLatin1Char('.'), 0, 0));
    QVERIFY(!name->isEmpty());
    QCOMPARE(platform::joinedDomain(), QString());
}

void TestSystemPosix::rootFolder_data()
{
    QTest::addColumn<QByteArray>("named");
    QTest::addColumn<QString>("root");
    QTest::newRow("absolute") << QByteArray("/some/where") << QStringLiteral("/some/where");
    QTest::newRow("separators") << QByteArray("/some//where/") << QStringLiteral("/some/where");
    QTest::newRow("relative") << QByteArray("here")
                              << QDir::currentPath() + QStringLiteral("/here");
    QTest::newRow("empty") << QByteArray("") << QStringLiteral("/var/lib/korvex");
}

void TestSystemPosix::rootFolder()
{
    QFETCH(QByteArray, named);
    QFETCH(QString, root);
    const QByteArray before = qgetenv("KORVEX_ROOT");
    qputenv("KORVEX_ROOT", named);
    const QString install = platform::installDirectory();
    const QString library = platform::libraryPath();
    const QString data = platform::dataRoot();
    qputenv("KORVEX_ROOT", before);
    QCOMPARE(install, root + QStringLiteral("/Program Files/Korvex/Logon"));
    QCOMPARE(library, root + QStringLiteral("/Program Files/Korvex/Logon/libkorvexLogin.so"));
    QCOMPARE(data, root + QStringLiteral("/ProgramData/Korvex/Logon"));
}

void TestSystemPosix::modeOfAnAppendedFile()
{
    const mode_t before = ::umask(0);
    QFile file(m_root.path() + QStringLiteral("/new.log"));
    QVERIFY(platform::openForAppending(file));
    ::umask(before);
    struct stat status{};
    QCOMPARE(::fstat(file.handle(), &status), 0);
    QCOMPARE(status.st_mode & 07777u, 0640u);
}

void TestSystemPosix::argumentString()
{
    QProcess process;
    process.setProgram(QStringLiteral("printf"));
    platform::setNativeArguments(process, QStringLiteral("one \"argument\" with\\\\blanks"));
    process.start();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardOutput(), QByteArray("one \"argument\" with\\blanks"));
}

void TestSystemPosix::closedStandardStreams_data()
{
    QTest::addColumn<QString>("redirection");
    QTest::newRow("none closed") << QString();
    QTest::newRow("input") << QStringLiteral("<&-");
    QTest::newRow("output") << QStringLiteral(">&-");
    QTest::newRow("errors") << QStringLiteral("2>&-");
    QTest::newRow("all") << QStringLiteral("<&- >&- 2>&-");
}

void TestSystemPosix::closedStandardStreams()
{
    QFETCH(QString, redirection);
    QCOMPARE(QProcess::execute(QStringLiteral("sh"),
                               {QStringLiteral("-c"), roleCommand(QStringLiteral("open")) +
                                                          QLatin1Char(' ') + redirection}),
             0);
}

void TestSystemPosix::readerThatHasGone()
{
    // The subshell hands on the status of the writer, whose reader leaves after one line.
    const QString script = QStringLiteral("{ { %1; echo $? >&3; } | head -n 1 >/dev/null; } 3>&1")
                               .arg(roleCommand(QStringLiteral("lines")));
    QCOMPARE(outputOf(QStringLiteral("sh"), {QStringLiteral("-c"), script}), QByteArray("0"));
}

void TestSystemPosix::readerThatStandsStill()
{
    int ends[2];
    QCOMPARE(::pipe(ends), 0);
    QProcess writer;
    writer.setStandardOutputFile(QStringLiteral("/proc/%1/fd/%2").arg(::getpid()).arg(ends[1]));
    writer.start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("--role"), QStringLiteral("lines")});
    // 100 kB do not fit into a pipe, and nobody reads.
    QVERIFY(writer.waitForFinished(20000));
    QCOMPARE(writer.exitCode(), 0);
    ::close(ends[0]);
    ::close(ends[1]);
}

void TestSystemPosix::textToAFile()
{
    const QString path = m_root.path() + QStringLiteral("/output");
    QProcess writer;
    writer.setStandardOutputFile(path);
    writer.start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("--role"), QStringLiteral("lines")});
    QVERIFY(writer.waitForFinished());
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), (QByteArray(1000, 'x') + '\n').repeated(100));
}

void TestSystemPosix::locationsBesideTheLibrary()
{
    const QString folder = m_root.path() + QStringLiteral("/Program Files");
    QVERIFY(QDir().mkpath(folder));
    const QStringList lines =
        QFile::decodeName(outputOf(QCoreApplication::applicationFilePath(),
                                   {QStringLiteral("--locations"),
                                    folder + QStringLiteral("/libkorvexLogin.so")}))
            .split(QLatin1Char('\n'));
    QStringList expected{folder};
    // Qt is where it was, although the application now lies elsewhere.
    for (const auto location : kLocations)
        expected.append(QLibraryInfo::location(location));
    QCOMPARE(lines, expected);
}

void TestSystemPosix::confOfAnOddPlace()
{
    const QString prefix = QString::fromUtf8("/opt/Größe, \"a\" \\ b; 日本/é1f = %20");
    const QString folder = m_root.path() + QStringLiteral("/odd");
    QVERIFY(QDir().mkpath(folder));
    QSettings given(folder + QStringLiteral("/qt.conf"), QSettings::IniFormat);
    given.setValue(QStringLiteral("Paths/Prefix"), prefix);
    given.sync();

    QFile conf(folder + QStringLiteral("/made.conf"));
    QVERIFY(conf.open(QIODevice::WriteOnly));
    conf.write(outputOf(QCoreApplication::applicationFilePath(),
                        {QStringLiteral("--conf"), folder + QStringLiteral("/libkorvexLogin.so")}));
    conf.close();
    const QSettings made(conf.fileName(), QSettings::IniFormat);
    QCOMPARE(made.value(QStringLiteral("Paths/Prefix")).toString(), prefix);
    QCOMPARE(made.value(QStringLiteral("Paths/Plugins")).toString(),
             prefix + QStringLiteral("/plugins"));
}

void TestSystemPosix::pinnedLibraryStays()
{
    const char* const module = PINNED_MODULE;
    const auto isLoaded = [module] {
        void* const handle = ::dlopen(module, RTLD_NOW | RTLD_NOLOAD);
        return handle != nullptr && ::dlclose(handle) == 0;
    };
    const auto call = [module](auto use) {
        void* const handle = ::dlopen(module, RTLD_NOW | RTLD_LOCAL);
        const bool result = handle != nullptr && use(handle);
        return handle != nullptr && ::dlclose(handle) == 0 && result;
    };
    QVERIFY(call([](void*) { return true; }));
    QVERIFY2(!isLoaded(), "without the call it goes");
    QVERIFY(call([](void* handle) {
        const auto pin = reinterpret_cast<bool (*)()>(::dlsym(handle, "pinModule"));
        return pin != nullptr && pin();
    }));
    QVERIFY(isLoaded());
}

int main(int argc, char** argv)
{
    const QByteArrayList arguments(argv, argv + argc);
    if (arguments.value(1) == "--locations")
        return showLocations(arguments.value(2).constData());
    if (arguments.value(1) == "--conf")
        return showConf(arguments.value(2).constData());
    if (arguments.value(1) == "--role")
        return arguments.value(2) == "open" ? openAFile() : writeLines();
    const QCoreApplication application(argc, argv);
    TestSystemPosix test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_system_posix.moc"
