#include "core/log.h"
#include "core/message_box.h"
#include "core/settings.h"
#include "platform/copies.h"
#include "platform/process.h"
#include "support/temporary_root.h"

#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QTimer>
#include <QtTest>
#include <cstdio>
#include <memory>
#include <thread>
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

} // namespace

class TestLog : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root = std::make_unique<korvex::test::TemporaryRoot>(); }
    void cleanup() { m_root.reset(); }

    void verbosity_data();
    void verbosity();
    void requests();
    void appendsUtf8();
    void threads();
    void processes();
    void standardOutput();
    void messageBox();

private:
    QByteArray logBytes() const
    {
        QFile file(m_root->logPath());
        return file.open(QIODevice::ReadOnly | QIODevice::Text) ? file.readAll() : "no log";
    }
    void verifyWholeLines(int writers, int each) const;

    std::unique_ptr<korvex::test::TemporaryRoot> m_root;
};

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

void TestLog::standardOutput()
{
    const QByteArrayList shown = runCopies(1, {"line"});
    QCOMPARE(shown, QByteArrayList{logBytes()});
    QCOMPARE(runCopies(1, {"line, output closed"}), QByteArrayList{QByteArray()});
    QCOMPARE(m_root->logMessages(), (QStringList{lineOf(0, 0), lineOf(0, 0)}));
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
        if (std::freopen(qPrintable(QProcess::nullDevice()), "w", stdout) == nullptr)
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
