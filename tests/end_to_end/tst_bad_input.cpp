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
    void jsonAndUnwritableStorage();
    void corruptRegistry();
    void fullDisk();
};

void TestBadInput::jsonAndUnwritableStorage()
{
    SignInRig rig;
    // A file stands where the folder should be, which stops a privileged user too.
    const QString folder = korvex::platform::dataRoot();
    QVERIFY(QDir().mkpath(folder) && writeFile(folder + "/Cache", "not a folder"));
    const QString path = rig.root().path() + "/input.json";
    for (const auto& [json, verdict] :
         {std::pair(QByteArray(), "denied: Invalid transaction fields"),
          // No text at all, as a host may pass it.
          {"{\"user\":\"\xff\xfe\",\"ip\":\"\"}", "granted: User allowed by Korvex server"}}) {
        QVERIFY(writeFile(path, json));
        const Outcome outcome = rig.run({'@' + path});
        QCOMPARE(outcome.lastVerdict(), verdict);
        QCOMPARE(outcome.verdicts, QVector<int>{verdict[0] == 'g'});
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
    QVERIFY(!outcome.log.filter(path).filter("[Error]").isEmpty());
    QCOMPARE(contentOf(path), garbage);
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
    QVERIFY(outcome.output.contains("User access granted, reason: User allowed by Korvex server"));
    QVERIFY(korvex::mainKey().readString("systemToken").has_value());
}

QTEST_GUILESS_MAIN(TestBadInput)
#include "tst_bad_input.moc"
