#include "core/settings.h"
#include "end_to_end/sign_in_rig.h"
#include "platform/paths.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

using namespace korvex::test;

/// Whatever is wrong around it, a sign-in ends in a verdict, and nothing stored is damaged.
class TestBadInput : public QObject
{
    Q_OBJECT

private slots:
    void json();
    void corruptRegistry();
    void unwritableStorage();
    void fullDisk();
};

void TestBadInput::json()
{
    SignInRig rig;
    const QString path = rig.root().path() + "/input.json";
    for (const auto& [json, verdict] :
         {std::pair(QByteArray(), "denied: Invalid transaction fields"),
          // No text at all, as a host may pass it.
          {"{\"user\":\"\xff\xfe\",\"ip\":\"\"}", "granted: User allowed by Korvex server"},
          // More than the service takes, and so a failed transfer.
          {"{\"user\":\"" + QByteArray(1 << 20, 'a') + "\"}",
           "denied: No or invalid response from Korvex API! FailMode deny"}}) {
        QVERIFY(writeFile(path, json));
        const Outcome outcome = rig.run({'@' + path});
        QCOMPARE(outcome.lastVerdict(), verdict);
        QCOMPARE(outcome.verdicts.size(), 1);
        QCOMPARE(outcome.exitCode, 1 - outcome.verdicts.first());
    }
}

void TestBadInput::corruptRegistry()
{
    SignInRig rig;
    const QString path = rig.root().path() + "/registry.db";
    for (const char* suffix : {"-wal", "-shm"})
        QFile::remove(path + suffix);
    const QByteArray garbage(8192, 'x');
    QVERIFY(writeFile(path, garbage));
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), "granted: Invalid configuration");
    QCOMPARE(outcome.boxesDismissed, 1);
    QVERIFY(!outcome.log.filter(path).filter("[Error]").isEmpty());
    QCOMPARE(contentOf(path), garbage);
}

void TestBadInput::unwritableStorage()
{
    SignInRig rig;
    QVERIFY(QDir().mkpath(korvex::platform::dataRoot()));
    // A file stands where the folder should be, which stops a privileged user too.
    QVERIFY(writeFile(korvex::platform::dataRoot() + "/Cache", "not a folder"));
    QCOMPARE(rig.signIn().verdicts, QVector<int>{1});
}

void TestBadInput::fullDisk()
{
    SignInRig rig;
    QVERIFY(QDir().mkpath(korvex::platform::dataRoot()));
    if (QProcess::execute("unshare", {"-rm", "true"}) != 0)
        QSKIP("no namespace of its own may be made here");
    // File systems of no size for installation, log and web storage, in a namespace of the host's.
    const QString fill = "for folder in '%1' '%2'; do mount -t tmpfs -o size=64k tmpfs \"$folder\";"
                         " cat /dev/zero >\"$folder/filler\" 2>&-; done; exec \"$@\"";
    rig.setWrapper({"unshare", "-rm", "sh", "-c",
                    fill.arg(korvex::platform::dataRoot(), korvex::platform::installDirectory()),
                    "sh"});
    rig.environment.insert("QTWEBENGINE_DISABLE_SANDBOX", "1"); // root in that namespace
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QVERIFY(outcome.output.contains("User access granted, reason: User allowed by Korvex server"));
    QVERIFY(korvex::mainKey().readString("systemToken").has_value());
}

QTEST_GUILESS_MAIN(TestBadInput)
#include "tst_bad_input.moc"
