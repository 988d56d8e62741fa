#include "platform/accounts.h"
#include "platform/fault_report.h"
#include "platform/process.h"

#include <QProcess>
#include <QtTest>
#include <cstdio>

namespace platform = korvex::platform;

namespace {

struct EndsLoudly
{
    ~EndsLoudly() { platform::writeStandardOutput("destructor"); }
};

int endAsCopy()
{
    static const EndsLoudly atExit;
    std::fputs("buffered", stdout);
    platform::writeStandardOutput("written");
    platform::terminateProcess(42);
}

} // namespace

class TestSystem : public QObject
{
    Q_OBJECT

private slots:
    void unknownAccounts();
    void terminateEndsAtOnce();
    void faultsAreKeptAndToldOnce();
};

void TestSystem::unknownAccounts()
{
    const QString name = "no-such-account-here";
    for (const QString& account : {QString(), name, "NOSUCHDOMAIN\\" + name, QString(100000, 'a')})
        QVERIFY(platform::accountSid(account) ==
                std::unexpected(platform::SidError::AccountNotFound));
}

void TestSystem::terminateEndsAtOnce()
{
    QProcess copy;
    copy.start(QCoreApplication::applicationFilePath(), {"--end"});
    QVERIFY(copy.waitForFinished());
    QCOMPARE(copy.exitStatus(), QProcess::NormalExit);
    QCOMPARE(copy.exitCode(), 42);
    QCOMPARE(copy.readAllStandardOutput(), QByteArray("written"));
}

void TestSystem::faultsAreKeptAndToldOnce()
{
    for (const char* const text : {"first", "first", "second"})
        platform::reportFault(text);
    QStringList heard;
    platform::setFaultHandler([&heard](const QString& text) { heard.append(text); });
    for (const char* const text : {"second", "third", "third", "second"})
        platform::reportFault(text);
    platform::setFaultHandler({});
    QCOMPARE(heard, (QStringList{"first", "second", "third", "second"}));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == "--end")
        return endAsCopy();
    TestSystem test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_system.moc"
