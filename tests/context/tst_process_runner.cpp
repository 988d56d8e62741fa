#include "context/process_runner.h"
#include "core/process_state.h"
#include "platform/paths.h"

#include <QDir>
#include <QtTest>

using namespace korvex;

/// Runs shell scripts that stand on the path under the name of the program.
class TestProcessRunner : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("PATH", QFile::encodeName(m_programs.path()) + ':' + qgetenv("PATH"));
    }
    void init()
    {
        m_state.startAnew();
        QVERIFY(QDir().mkpath(platform::installDirectory()));
    }

    void outcomes_data();
    void outcomes();
    void muchOutput();
    void cannotStart();

private:
    void install(const QByteArray& script) const
    {
        QFile file(m_programs.filePath("PowerShell"));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("#!/bin/sh\n" + script);
        QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::ExeOwner | QFile::WriteOwner));
    }

    test::ProcessState m_state;
    QTemporaryDir m_programs;
};

void TestProcessRunner::outcomes_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");
    QTest::addColumn<QStringList>("log");
    const QString finished = "[Verbose 2] 'PowerShell' process finished. Output: '%1'";
    const QString details = "[Verbose 2] [Warning] 'PowerShell' finished with some errors. "
                            "Details: '%1'";
    const QString code = "[Verbose 1] 'PowerShell' process finished with non-success code: '%1'";
    const auto row = [](const char* name, const QByteArray& script, bool succeeds,
                        const QString& output, const QString& errors, const QStringList& log) {
        QTest::newRow(name) << script << succeeds << output << errors << log;
    };
    row("output, trimmed", R"(printf '\r\n  first\nsecond \t\r\n')", true, "first\nsecond",
        "before", {finished.arg("first\nsecond").section('\n', 0, 0), "second'"});
    row("UTF-8", R"(printf 'J\303\274rgen')", true, QStringLiteral("Jürgen"), "before",
        {finished.arg(QStringLiteral("Jürgen"))});
    row("nothing", "echo", true, "before", "before", {});
    row("errors", "echo oops >&2", true, "before", "oops", {details.arg("oops")});
    row("everything", "echo out; echo oops >&2; exit 3", false, "out", "oops",
        {finished.arg("out"), details.arg("oops"), code.arg(3)});
    row("crash", "echo out; kill -9 $$", false, "before", "before",
        {"[Error] 'PowerShell' process crashed with status: '1'"});
    const QString argument = R"(-Command "(a 'b').c" 'd)";
    row("one argument, as it stands", R"(printf '%s %s' $# "$1")", true, "1 " + argument, "before",
        {finished.arg("1 " + argument)});
    row("working folder", "pwd | tail -c 13", true, "Korvex/Logon", "before",
        {finished.arg("Korvex/Logon")});
}

void TestProcessRunner::outcomes()
{
    QFETCH(QByteArray, script);
    QFETCH(bool, succeeds);
    install(script);
    QString output = "before";
    QString errors = "before";
    QCOMPARE(runProcess("PowerShell", R"(-Command "(a 'b').c" 'd)", output, errors), succeeds);
    QTEST(output, "output");
    QTEST(errors, "errors");
    QTEST(m_state.takeLog(), "log");
}

void TestProcessRunner::muchOutput()
{
    install("head -c 1000000 /dev/zero | tr '\\0' x; head -c 1000000 /dev/zero >&2");
    QString output;
    QString errors;
    QVERIFY(runProcess("PowerShell", "", output, errors));
    QCOMPARE(output, QString(64 * 1024, 'x'));
}

void TestProcessRunner::cannotStart()
{
    const auto fails = [this] {
        QString output = "before";
        QString errors = "before";
        const bool succeeded = runProcess("PowerShell", "", output, errors);
        const QStringList log = m_state.takeLog();
        return !succeeded && output == "before" && errors == "before" && log.size() == 1 &&
               log[0].startsWith("[Error] Failed to execute 'PowerShell' process. "
                                 "Error details: '") &&
               !log[0].endsWith("''");
    };
    install("echo");
    QVERIFY(QDir().rmpath(platform::installDirectory()));
    QVERIFY(fails());
    QVERIFY(QDir().mkpath(platform::installDirectory()));
    QVERIFY(!fails());
    QVERIFY(QFile::remove(m_programs.filePath("PowerShell")));
    QVERIFY(fails());
}

QTEST_GUILESS_MAIN(TestProcessRunner)

#include "tst_process_runner.moc"
