#include "context/process_runner.h"
#include "core/process_state.h"
#include "platform/paths.h"

#include <QDir>
#include <QtTest>

using namespace korvex;

/// Runs a stand-in that stands on the path as PowerShell.exe.
class TestProcessRunnerWindows : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void argumentString_data();
    void argumentString();
    void workingFolder();
    void outcomes_data();
    void outcomes();
    void cannotStart();

private:
    /// What the stand-in was started with: its command line and its working folder.
    QStringList recorded() const
    {
        QFile file(m_folder.filePath("record"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QByteArray bytes = file.readAll();
        return QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData()),
                                  bytes.size() / int(sizeof(char16_t)))
            .split(QChar(0));
    }

    test::ProcessState m_state;
    QTemporaryDir m_folder;
    QString m_output;
    QString m_errors;
};

void TestProcessRunnerWindows::initTestCase()
{
    qputenv("PATH", QDir::toNativeSeparators(QStringLiteral(STAND_IN_FOLDER)).toLocal8Bit() + ';' +
                        qgetenv("PATH"));
    qputenv("KORVEX_TEST_RECORD", QFile::encodeName(m_folder.filePath("record")));
}

void TestProcessRunnerWindows::init()
{
    m_state.startAnew();
    for (const char* const name : {"KORVEX_TEST_OUTPUT", "KORVEX_TEST_ERRORS", "KORVEX_TEST_EXIT"})
        qunsetenv(name);
    QFile::remove(m_folder.filePath("record"));
    QVERIFY(QDir().mkpath(platform::installDirectory()));
    m_output = m_errors = "before";
}

void TestProcessRunnerWindows::argumentString_data()
{
    QTest::addColumn<QString>("arguments");
    const auto row = [](const char* name, const QString& text) { QTest::newRow(name) << text; };
    row("a directory look-up",
        "-NoProfile -Command \"([adsisearcher]\\\"(samaccountname=jdoe)\\\").FindOne()"
        ".Properties.mail\"");
    row("a local look-up", "-NoProfile -Command \"(Get-LocalUser -Name 'J Doe').Description\"");
    row("unpaired quotes", "one \"two three\\\" ' four");
    row("backslashes", "C:\\ends\\with\\ \\\\server\\share\\\\\" \\");
    row("blanks", "  two  between \t and behind  ");
    row("of no code page", QStringLiteral("Łucja Größe 日本 \U0001F511"));
    row("characters of a shell", "a^b %PATH% !x! & | < > ; * ?");
    row("long", QString(30000, 'x'));
}

void TestProcessRunnerWindows::argumentString()
{
    QFETCH(QString, arguments);
    QVERIFY(runProcess("PowerShell", arguments, m_output, m_errors));
    const QString line = recorded().value(0);
    QVERIFY2(line.endsWith(' ' + arguments), qPrintable(line));
    // Nothing but the program stands before.
    QCOMPARE(line.left(line.size() - arguments.size()).trimmed(), QString("PowerShell"));
}

void TestProcessRunnerWindows::workingFolder()
{
    QVERIFY(runProcess("PowerShell", "", m_output, m_errors));
    QCOMPARE(recorded().value(1), platform::installDirectory());
}

void TestProcessRunnerWindows::outcomes_data()
{
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QByteArray>("complaint");
    QTest::addColumn<QByteArray>("exit");
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");
    QTest::addColumn<QStringList>("log");
    const QString finished = "[Verbose 2] 'PowerShell' process finished. Output: '%1'";
    const QString details = "[Verbose 2] [Warning] 'PowerShell' finished with some errors. "
                            "Details: '%1'";
    const QString code = "[Verbose 1] 'PowerShell' process finished with non-success code: '%1'";
    QTest::newRow("output, trimmed")
        << QByteArray("\n  text \t\n") << QByteArray() << QByteArray("0") << true << "text"
        << "before" << QStringList(finished.arg("text"));
    QTest::newRow("nothing") << QByteArray() << QByteArray() << QByteArray("0") << true << "before"
                             << "before" << QStringList();
    QTest::newRow("everything") << QByteArray("out") << QByteArray("oops") << QByteArray("3")
                                << false << "out" << "oops"
                                << QStringList{finished.arg("out"), details.arg("oops"),
                                               code.arg(3)};
    QTest::newRow("crash") << QByteArray("out") << QByteArray() << QByteArray("crash") << false
                           << "before" << "before"
                           << QStringList("[Error] 'PowerShell' process crashed with status: '1'");
}

void TestProcessRunnerWindows::outcomes()
{
    QFETCH(QByteArray, written);
    QFETCH(QByteArray, complaint);
    QFETCH(QByteArray, exit);
    QFETCH(bool, succeeds);
    qputenv("KORVEX_TEST_OUTPUT", written);
    qputenv("KORVEX_TEST_ERRORS", complaint);
    qputenv("KORVEX_TEST_EXIT", exit);
    QCOMPARE(runProcess("PowerShell", "", m_output, m_errors), succeeds);
    QTEST(m_output, "output");
    QTEST(m_errors, "errors");
    QTEST(m_state.takeLog(), "log");
}

void TestProcessRunnerWindows::cannotStart()
{
    QVERIFY(!runProcess("no-such-program-here", "", m_output, m_errors));
    QCOMPARE(m_output + m_errors, QString("beforebefore"));
    const QStringList log = m_state.takeLog();
    QCOMPARE(log.size(), 1);
    QVERIFY(log[0].startsWith("[Error] Failed to execute 'no-such-program-here' process."));
}

QTEST_GUILESS_MAIN(TestProcessRunnerWindows)

#include "tst_process_runner_windows.moc"
