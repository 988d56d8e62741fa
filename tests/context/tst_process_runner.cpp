#include "context/process_runner.h"
#include "core/process_state.h"
#include "platform/paths.h"

#include <QDir>
#include <QtTest>

using namespace korvex;

/// Runs a program that stands on the path under the name of PowerShell.
class TestProcessRunner : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString folder = QDir::toNativeSeparators(STAND_IN_FOLDER) + QDir::listSeparator();
        qputenv("PATH", QFile::encodeName(folder) + qgetenv("PATH"));
        QVERIFY(QDir().mkpath(platform::installDirectory()));
    }
    void init() { m_output = m_errors = "before"; }

    void outcomes_data();
    void outcomes();
    void handedOver();
    void muchOutput();
    void doesNotFinish();

private:
    bool run(const QByteArray& tasks, const QString& arguments = {})
    {
        qputenv("KORVEX_TEST_TASKS", tasks);
        m_state.takeLog();
        return runProcess("powershell", arguments, m_output, m_errors);
    }

    test::ProcessState m_state;
    QString m_output;
    QString m_errors;
};

void TestProcessRunner::outcomes_data()
{
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");
    QTest::addColumn<QStringList>("log");
    const QString name = QStringLiteral("Jürgen");
    const QString output = "[Verbose 2] 'powershell' process finished. Output: '" + name + "'";
    const QString errors = "[Verbose 2] [Warning] 'powershell' finished with some errors. "
                           "Details: 'oops'";
    const QString code = "[Verbose 1] 'powershell' process finished with non-success code: '3'";
    const QString crash = "[Error] 'powershell' process crashed with status: '1'";
    QTest::newRow("print") << true << name << "before" << QStringList(output);
    QTest::newRow("complain") << true << "before" << "oops" << QStringList(errors);
    QTest::newRow("print complain fail")
        << false << name << "oops" << QStringList{output, errors, code};
    QTest::newRow("print crash") << false << "before" << "before" << QStringList(crash);
}

void TestProcessRunner::outcomes()
{
    QFETCH(bool, succeeds);
    QCOMPARE(run(QTest::currentDataTag()), succeeds);
    QTEST(m_output, "output");
    QTEST(m_errors, "errors");
    QTEST(m_state.takeLog(), "log");
}

void TestProcessRunner::handedOver()
{
    const QString arguments = R"(-Command "(a \"b\").c"  'd" C:\e\ \\f\ %PATH% & ^)";
    QVERIFY(run("show", arguments));
    const QString line = m_output.section('\n', 0, 0).trimmed();
    QVERIFY2(line.endsWith(arguments), qPrintable(line));
    // Nothing but the program and a blank or two stand before.
    QCOMPARE(line.chopped(arguments.size()).trimmed(), QString("powershell"));
    QCOMPARE(QFileInfo(m_output.section('\n', 1)), QFileInfo(platform::installDirectory()));
}

void TestProcessRunner::muchOutput()
{
    QVERIFY(run("flood"));
    QCOMPARE(m_output, QString(64 * 1024, 'x'));
}

void TestProcessRunner::doesNotFinish()
{
    qputenv("KORVEX_TEST_TASKS", "print complain hang");
    m_state.takeLog();
    for (const QString program : {"powershell", "no-such-program-here"}) {
        QVERIFY(!runProcessWithin(std::chrono::seconds(1), program, "", m_output, m_errors));
        QCOMPARE(m_output + m_errors, QString("beforebefore"));
        const QString log = m_state.takeLog().join('\n');
        QVERIFY2(log.startsWith("[Error] Failed to execute '" + program +
                                "' process. Error details: '") &&
                     !log.endsWith("''"),
                 qPrintable(log));
    }
}

QTEST_GUILESS_MAIN(TestProcessRunner)

#include "tst_process_runner.moc"
