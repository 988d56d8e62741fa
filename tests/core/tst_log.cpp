#include "core/log.h"
#include "core/message_box.h"
#include "core/settings.h"
#include "platform/copies.h"
#include "platform/fault_report.h"
#include "support/temporary_root.h"

#include <QApplication>
#include <QTimer>
#include <QtTest>
#include <thread>

using korvex::Logger;
using korvex::mainKey;
using korvex::test::TemporaryRoot;

namespace {

// What all lines of one process need fits into a pipe that nobody reads.
constexpr int kLines = 100;

/// A line that shows by its length and its end whether it is whole.
QString lineOf(int writer, int number)
{
    return QString::number(writer) + QString(number, QLatin1Char('x')) + QStringLiteral("ż");
}

void writeLines(int writer)
{
    for (int number = 0; number < kLines; ++number)
        korvex::logger().log(0, lineOf(writer, number));
}

/// Writes as several processes, each on two threads.
void verifyWholeLines(int copies)
{
    const TemporaryRoot root;
    const QByteArray shown = korvex::test::runCopies(copies, {}).constFirst();
    QStringList expected;
    for (int writer = 0; writer < 2 * copies; ++writer)
        for (int number = 0; number < kLines; ++number)
            expected << lineOf(writer, number);
    QStringList lines = root.logMessages();
    std::sort(expected.begin(), expected.end());
    std::sort(lines.begin(), lines.end());
    QVERIFY(lines == expected);
    // The standard output has the same, in the same order.
    if (copies == 1)
        QVERIFY(QByteArray(shown).replace('\r', "") ==
                korvex::test::contentOf(root.logPath()).replace('\r', ""));
}

} // namespace

class TestLog : public QObject
{
    Q_OBJECT

private slots:
    void verbosity();
    void threads() { verifyWholeLines(1); }
    void processes() { verifyWholeLines(16); }
    void messageBoxAndFaults();
};

void TestLog::verbosity()
{
    TemporaryRoot root;
    const QStringList tags{"", "[Verbose 1] ", "[Verbose 2] ", "[Verbose 3] ", ""};
    const QList<std::pair<QVariant, int>> thresholds{{{}, 0}, {-1, 0}, {1, 1}, {4, 4}};
    for (const auto& [debugMode, threshold] : thresholds) {
        root.emptyRegistry();
        if (debugMode.isValid())
            mainKey().writeNumber("debugMode", debugMode.toInt());
        Logger log;
        mainKey().writeNumber("debugMode", 4); // read once, when the log was made
        QStringList expected;
        for (int level = 0; level < tags.size(); ++level) {
            if (level <= threshold)
                expected << tags[level] + "m" << tags[level] + "[Warning] w";
            QCOMPARE(log.log(level, "m"), level <= threshold);
            QCOMPARE(log.logWarning(level, "w"), level <= threshold);
        }
        QVERIFY(log.logError(QString("e\n\x7f") + QChar(0x2028) + "e") && !log.logRequest("{}"));
        QCOMPARE(root.takeLog(), expected << "[Error] e\\u000a\\u007f\\u2028e"); // one line
    }
}

void TestLog::messageBoxAndFaults()
{
    const TemporaryRoot root;
    // The first that the log of this process hears of.
    korvex::platform::reportFault("The registry is locked");
    Qt::WindowFlags flags;
    QTimer::singleShot(0, [&] {
        flags = QApplication::activeModalWidget()->windowFlags();
        QApplication::activeModalWidget()->close();
    });
    korvex::showMessageBox("First line\nSecond\nThird");
    QVERIFY(flags & Qt::WindowStaysOnTopHint);
    QCOMPARE(root.logMessages(), (QStringList{"[Error] The registry is locked",
                                              "[MessageBox] First line, Second, Third"}));
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--copy") == 0) {
        korvex::test::awaitRelease();
        const int number = QByteArray(argv[2]).toInt();
        const std::jthread other(writeLines, 2 * number);
        writeLines(2 * number + 1);
        return 0;
    }
    QApplication application(argc, argv);
    TestLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_log.moc"
