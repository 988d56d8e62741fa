#include "core/log.h"
#include "core/message_box.h"
#include "core/settings.h"
#include "platform/copies.h"
#include "platform/process.h"
#include "support/temporary_root.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>
#include <cstdio>
#include <ctime>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vector>

using korvex::Logger;
using korvex::mainKey;
using korvex::test::runCopies;

namespace {

/// A line that shows by its length and its end whether it is whole.
QString lineOf(int writer, int number)
{
    return QStringLiteral("%1/%2 %3 ż")
        .arg(writer)
        .arg(number)
        .arg(QString(number % 150, QLatin1Char('x')));
}

int writeLines(Logger& log, int writer, int count)
{
    int refused = 0;
    for (int number = 0; number < count; ++number)
        refused += log.log(0, lineOf(writer, number)) ? 0 : 1;
    return refused;
}

void setTimeZone(const QByteArray& zone)
{
    qputenv("TZ", zone);
    ::tzset();
}

} // namespace

class TestLog : public QObject
{
    Q_OBJECT

private slots:
    void init() { renewRoot(); }
    void cleanup()
    {
        qunsetenv("TZ");
        ::tzset();
        m_root.reset();
    }

    void prefix();
    void prefixInAnArabicCountry();
    void verbosity_data();
    void verbosity();
    void requests();
    void appendsUtf8();
    void threads();
    void processes();
    void unwritable();
    void standardOutput();
    void registryFault();
    void messageBox();

private:
    void renewRoot()
    {
        m_root.reset(); // before the next one: it names itself in the environment
        m_root = std::make_unique<korvex::test::TemporaryRoot>();
    }
    QByteArray logBytes() const
    {
        QFile file(m_root->logPath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no log");
    }
    void verifyWholeLines(int writers, int each) const;

    std::unique_ptr<korvex::test::TemporaryRoot> m_root;
};

void TestLog::prefix()
{
    const struct
    {
        const char* zone;
        int minutes;
        const char* shown;
    } zones[] = {{"UTC0", 0, "UTC+0"},
                 {"<-03>3", -180, "UTC-3"},
                 {"<+02>-2", 120, "UTC+2"},
                 {"<+0530>-5:30", 330, "UTC+5"},
                 {"<-0330>3:30", -210, "UTC-3"}};
    for (const auto& [zone, minutes, shown] : zones) {
        renewRoot();
        setTimeZone(zone);
        QDateTime time = QDateTime::currentDateTimeUtc();
        QVERIFY(Logger().log(0, "message"));
        const QDateTime end = QDateTime::currentDateTimeUtc().addSecs(1);
        QStringList possible;
        for (; time < end; time = time.addSecs(1)) {
            const QString local = time.addSecs(qint64(60) * minutes).toString(Qt::ISODate);
            possible << QStringLiteral("[%1 %2 %3] [KorvexLogin 5.5.0-67381a3] [%4:%5] message\n")
                            .arg(local.left(10), local.mid(11, 8), shown)
                            .arg(::getpid())
                            .arg(::gettid());
        }
        QVERIFY2(possible.contains(logBytes()), logBytes());
    }
}

void TestLog::prefixInAnArabicCountry()
{
    qputenv("LC_ALL", "ar_EG.UTF-8");
    runCopies(1, {"lines"});
    qunsetenv("LC_ALL");
    QVERIFY2(logBytes().startsWith("[2"), logBytes().left(100));
}

void TestLog::verbosity_data()
{
    QTest::addColumn<QVariant>("debugMode");
    QTest::addColumn<int>("threshold");
    QTest::newRow("absent") << QVariant() << 0;
    QTest::newRow("text") << QVariant("3") << 0;
    QTest::newRow("negative") << QVariant(-1) << 0;
    for (const int level : {0, 1, 2, 3, 4})
        QTest::addRow("%d", level) << QVariant(level) << level;
}

void TestLog::verbosity()
{
    QFETCH(QVariant, debugMode);
    QFETCH(int, threshold);
    if (debugMode.type() == QVariant::String)
        mainKey().writeString("debugMode", debugMode.toString());
    else if (debugMode.isValid())
        mainKey().writeNumber("debugMode", debugMode.toInt());
    Logger log;
    mainKey().writeNumber("debugMode", 4); // read once, when the log was made
    const QStringList tags{"", "[Verbose 1] ", "[Verbose 2] ", "[Verbose 3] ", ""};
    QStringList expected;
    for (int level = 0; level < tags.size(); ++level) {
        if (level <= threshold)
            expected << tags[level] + "m" << tags[level] + "[Warning] w";
        QCOMPARE(log.log(level, "m"), level <= threshold);
        QCOMPARE(log.logWarning(level, "w"), level <= threshold);
    }
    QVERIFY(log.logError("e"));
    QCOMPARE(m_root->logMessages(), expected << "[Error] e");
}

void TestLog::requests()
{
    mainKey().writeNumber("debugMode", 3);
    QVERIFY(!Logger().logRequest("absent"));
    mainKey().writeNumber("debugKorvexRequests", 0);
    QVERIFY(!Logger().logRequest("off"));
    mainKey().writeNumber("debugKorvexRequests", 1);
    mainKey().writeNumber("debugMode", 0);
    QVERIFY(Logger().logRequest("{}"));
    QCOMPARE(m_root->logMessages(), QStringList("[Debug Requests] [POST] {}"));
}

void TestLog::appendsUtf8()
{
    QVERIFY(Logger().log(0, QStringLiteral("zażółć \U0001F600\nnext line")));
    const QByteArray first = logBytes();
    QVERIFY2(first.endsWith("] za\xC5\xBC\xC3\xB3\xC5\x82\xC4\x87 \xF0\x9F\x98\x80\nnext line\n"),
             first);
    QVERIFY(Logger().log(0, QString(QChar(0xd800)))); // no character on its own
    QVERIFY(logBytes().startsWith(first + '['));
}

void TestLog::verifyWholeLines(int writers, int each) const
{
    QStringList expected;
    for (int writer = 0; writer < writers; ++writer)
        for (int number = 0; number < each; ++number)
            expected << lineOf(writer, number);
    QStringList lines = m_root->logMessages();
    QCOMPARE(lines.size(), expected.size());
    std::sort(expected.begin(), expected.end());
    std::sort(lines.begin(), lines.end());
    QVERIFY(lines == expected);
}

void TestLog::threads()
{
    Logger log;
    std::vector<std::jthread> threads;
    threads.reserve(8);
    for (int writer = 0; writer < 8; ++writer)
        threads.emplace_back([&log, writer] { writeLines(log, writer, 250); });
    threads.clear();
    verifyWholeLines(8, 250);
}

void TestLog::processes()
{
    for (const QByteArray& outcome : runCopies(32, {"lines"}))
        QCOMPARE(outcome, QByteArray());
    verifyWholeLines(32, 1000);
}

void TestLog::unwritable()
{
    const QString root = "/ProgramData/Korvex/Logon";
    const QString log = root + "/Logs/korvex-credential-provider.log";
    const QList<std::pair<QString, QString>> obstacles{
        {root, "file"}, {root + "/Logs", "file"}, {log, "folder"}, {log, "/dev/full"}};
    for (const auto& [where, obstacle] : obstacles) {
        renewRoot();
        const QString path = m_root->path() + where;
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        QVERIFY(obstacle == "file"     ? QFile(path).open(QIODevice::WriteOnly)
                : obstacle == "folder" ? QDir().mkpath(path)
                                       : QFile::link(obstacle, path));
        QVERIFY2(!Logger().log(0, "message"), qPrintable(path));
    }
}

void TestLog::standardOutput()
{
    const QByteArrayList shown = runCopies(1, {"line"});
    QCOMPARE(shown, QByteArrayList{logBytes()});
    QCOMPARE(runCopies(1, {"line, output closed"}), QByteArrayList{QByteArray()});
    QCOMPARE(m_root->logMessages(), (QStringList{lineOf(0, 0), lineOf(0, 0)}));
}

void TestLog::registryFault()
{
    QFile registry(m_root->path() + "/registry.db");
    QVERIFY(registry.open(QIODevice::WriteOnly));
    registry.write(QByteArray(8192, '?'));
    registry.close();
    runCopies(1, {"lines"});
    const QStringList messages = m_root->logMessages();
    QCOMPARE(messages.size(), 1001);
    QVERIFY2(messages[0].startsWith("[Error] ") && messages[0].contains(registry.fileName()),
             qPrintable(messages[0]));
    QVERIFY(registry.open(QIODevice::ReadOnly));
    QCOMPARE(registry.readAll(), QByteArray(8192, '?'));
}

void TestLog::messageBox()
{
    QString shown;
    Qt::WindowFlags flags;
    QTimer timer;
    connect(&timer, &QTimer::timeout, [&] {
        if (auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            shown = box->text();
            flags = box->windowFlags();
            box->accept();
        }
    });
    timer.start(10);
    korvex::showMessageBox("First line\nSecond\nThird");
    QCOMPARE(shown, QString("First line\nSecond\nThird"));
    QVERIFY(flags & Qt::WindowStaysOnTopHint);
    QCOMPARE(flags & Qt::WindowType_Mask, Qt::Window); // nothing of a dialogue's own type
    QCOMPARE(m_root->logMessages(), QStringList("[MessageBox] First line, Second, Third"));
}

static int runAsCopy(int number, const QString& task)
{
    korvex::test::awaitRelease();
    if (task == "line, output closed") {
        if (std::fclose(stdout) != 0)
            return 1;
        korvex::platform::reserveStandardStreams();
    } else if (task == "lines") {
        // Nobody reads the copies' output while all write.
        if (std::freopen("/dev/null", "w", stdout) == nullptr)
            return 1;
    }
    return writeLines(korvex::logger(), number, task == "lines" ? 1000 : 1);
}

int main(int argc, char** argv)
{
    if (argc == 4 && qstrcmp(argv[1], "--copy") == 0)
        return runAsCopy(QByteArray(argv[2]).toInt(), argv[3]);
    QApplication application(argc, argv);
    TestLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_log.moc"
