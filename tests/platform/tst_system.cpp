#include "platform/accounts.h"
#include "platform/append_file.h"
#include "platform/copies.h"
#include "platform/fault_recorder.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "support/temporary_root.h"

#include <QDir>
#include <QProcess>
#include <QtTest>
#include <cstdio>
#include <thread>

namespace platform = korvex::platform;

namespace {

constexpr int kWriters = 32;
constexpr int kLinesEach = 1000;
constexpr int kLongLine = 500; // the number of the line that is longer than 64 KiB

/// A line that shows by itself whether it is whole: its end repeats what its length has to be.
QByteArray lineOf(int writer, int number)
{
    const int fill = number == kLongLine ? 70000 + writer : (number * 7 + writer) % 200;
    const QByteArray start = QByteArray::number(writer) + ' ' + QByteArray::number(number) + ' ';
    return start + QByteArray(fill, static_cast<char>('a' + writer % 26)) + " (" +
           QByteArray::number(fill) + ")\n";
}

int appendAsCopy(int writer, const QString& path)
{
    korvex::test::awaitRelease();
    QFile file(path);
    if (!platform::openForAppending(file))
        return 1;
    for (int number = 0; number < kLinesEach; ++number)
        if (!platform::appendText(file, lineOf(writer, number)))
            return 2;
    return 0;
}

struct EndsLoudly
{
    ~EndsLoudly() { platform::writeStandardOutput("destructor"); }
};

int endAsCopy()
{
    static const EndsLoudly atExit;
    const EndsLoudly atReturn;
    std::fputs("buffered", stdout);
    platform::writeStandardOutput("written");
    platform::terminateProcess(42);
}

QProcess* startedCopy(QObject* parent, const QStringList& arguments)
{
    auto* const copy = new QProcess(parent);
    copy->start(QCoreApplication::applicationFilePath(), arguments);
    return copy;
}

} // namespace

class TestSystem : public QObject
{
    Q_OBJECT

private slots:
    void unknownAccounts_data();
    void unknownAccounts();
    void fixedPaths();
    void appendKeepsWhatIsThere();
    void appendToNoFile();
    void appendedLinesStayWhole();
    void identifiers();
    void terminateEndsAtOnce();
    void faultsAreKeptAndToldOnce();

private:
    korvex::test::TemporaryRoot m_root;
};

void TestSystem::unknownAccounts_data()
{
    QTest::addColumn<QString>("account");
    QTest::newRow("empty") << QString();
    QTest::newRow("nobody of that name") << QStringLiteral("no-such-account-here");
    QTest::newRow("another domain") << QStringLiteral("NOSUCHDOMAIN\\no-such-account-here");
    QTest::newRow("very long") << QString(100000, QLatin1Char('a'));
}

void TestSystem::unknownAccounts()
{
    QFETCH(QString, account);
    const auto sid = platform::accountSid(account);
    QVERIFY(!sid);
    QCOMPARE(sid.error(), platform::SidError::AccountNotFound);
}

void TestSystem::fixedPaths()
{
    for (const QString& path :
         {platform::installDirectory(), platform::libraryPath(), platform::dataRoot()}) {
        QVERIFY(QDir::isAbsolutePath(path));
        QVERIFY(!path.endsWith(QDir::separator()));
    }
    QVERIFY(platform::libraryPath().startsWith(platform::installDirectory() + QDir::separator()));
}

void TestSystem::appendKeepsWhatIsThere()
{
    const QString path = m_root.path() + QStringLiteral("/kept.log");
    for (const char* const text : {"first\n", "second\nthird\n"}) {
        QFile file(path);
        QVERIFY(platform::openForAppending(file));
        QVERIFY(platform::appendText(file, text));
        // There at once, without a close.
        QVERIFY(QFile(path).size() >= qstrlen(text));
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
    QCOMPARE(file.readAll(), QByteArray("first\nsecond\nthird\n"));
}

void TestSystem::appendToNoFile()
{
    QFile missing(m_root.path() + QStringLiteral("/missing/folder.log"));
    QVERIFY(!platform::openForAppending(missing));
    QFile folder(m_root.path());
    QVERIFY(!platform::openForAppending(folder));
}

void TestSystem::appendedLinesStayWhole()
{
    const QString path = m_root.path() + QStringLiteral("/shared.log");
    for (const QByteArray& outcome :
         korvex::test::runCopies(kWriters, {QStringLiteral("append"), path}))
        QCOMPARE(outcome, QByteArray());

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
    std::vector<int> next(kWriters, 0);
    int lines = 0;
    for (; !file.atEnd(); ++lines) {
        const QByteArray line = file.readLine();
        const int writer = line.left(line.indexOf(' ')).toInt();
        QVERIFY(writer >= 0 && writer < kWriters);
        // Also in the order in which their process wrote them.
        QCOMPARE(line, lineOf(writer, next[static_cast<std::size_t>(writer)]++));
    }
    QCOMPARE(lines, kWriters * kLinesEach);
}

void TestSystem::identifiers()
{
    QCOMPARE(platform::currentProcessId(),
             static_cast<quint64>(QCoreApplication::applicationPid()));
    const quint64 here = platform::currentThreadId();
    QCOMPARE(platform::currentThreadId(), here);
    quint64 there = here;
    std::thread([&there] { there = platform::currentThreadId(); }).join();
    QVERIFY(there != here);
}

void TestSystem::terminateEndsAtOnce()
{
    QObject scope;
    QProcess* const copy =
        startedCopy(&scope, {QStringLiteral("--copy"), QString(), QStringLiteral("end")});
    QVERIFY(copy->waitForFinished());
    QCOMPARE(copy->exitStatus(), QProcess::NormalExit);
    QCOMPARE(copy->exitCode(), 42);
    QCOMPARE(copy->readAllStandardOutput(), QByteArray("written"));
}

void TestSystem::faultsAreKeptAndToldOnce()
{
    const auto name = [](int number) { return QStringLiteral("fault %1").arg(number); };
    platform::setFaultHandler({});
    for (int number = 0; number < 20; ++number) {
        platform::reportFault(name(number));
        platform::reportFault(name(number));
    }
    QStringList heard;
    platform::setFaultHandler([&heard](const QString& text) { heard.append(text); });
    QCOMPARE(heard.size(), 16);
    QCOMPARE(heard.first(), name(0));
    heard.clear();
    platform::reportFault(name(19)); // told before
    platform::reportFault(name(20));
    platform::reportFault(name(19));
    platform::setFaultHandler({});
    QCOMPARE(heard, (QStringList{name(20), name(19)}));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--copy"))
        return arguments.value(3) == QLatin1String("end")
                   ? endAsCopy()
                   : appendAsCopy(arguments.value(2).toInt(), arguments.value(4));
    TestSystem test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_system.moc"
