#include "core/settings.h"
#include "end_to_end/sign_in_rig.h"
#include "platform/paths.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <fcntl.h>

using korvex::test::contentOf;
using korvex::test::Outcome;
using korvex::test::SignInRig;
using korvex::test::writeFile;

namespace {

const QString kNoUser = QStringLiteral("denied: Invalid transaction fields");
const QString kGranted = QStringLiteral("granted: User allowed by Korvex server");

} // namespace

/// Whatever is wrong around it, a sign-in ends in a verdict, and nothing stored is damaged.
class TestBadInput : public QObject
{
    Q_OBJECT

private slots:
    void json_data();
    void json();
    void corruptRegistry();
    void lockedRegistry();
    void unwritableFolders_data();
    void unwritableFolders();
    void fullLog();
    void fullDisk();
};

void TestBadInput::json_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("verdict");
    QTest::newRow("empty") << QByteArray() << kNoUser;
    QTest::newRow("malformed") << QByteArray(R"({"user":"alice",)") << kNoUser;
    QTest::newRow("array") << QByteArray(R"(["alice"])") << kNoUser;
    QTest::newRow("user is no text") << QByteArray(R"({"user":5,"ip":""})") << kNoUser;
    QTest::newRow("no text at all")
        << QByteArray("{\"user\":\"\xff\xfe\",\"ip\":\"\"}") << kGranted;
    QTest::newRow("1 MiB of braces") << QByteArray(1 << 20, '{') << kNoUser;
    // More than the service takes, and so a failed transfer.
    QTest::newRow("1 MiB of name")
        << QByteArray("{\"user\":\"" + QByteArray(1 << 20, 'a') + "\",\"ip\":\"\"}")
        << "denied: No or invalid response from Korvex API! FailMode deny";
    QTest::newRow("address is none")
        << QByteArray(R"({"user":"alice","ip":"not-an-ip"})") << kGranted;
}

void TestBadInput::json()
{
    QFETCH(QByteArray, json);
    SignInRig rig;
    const QString path = rig.root().path() + QStringLiteral("/input.json");
    QVERIFY(writeFile(path, json));
    const Outcome outcome = rig.run({QLatin1Char('@') + path});
    QTEST(outcome.lastVerdict(), "verdict");
    QCOMPARE(outcome.verdicts.size(), 1);
    QVERIFY(!outcome.crashed);
}

void TestBadInput::corruptRegistry()
{
    SignInRig rig;
    const QString path = rig.root().path() + QStringLiteral("/registry.db");
    for (const char* suffix : {"-wal", "-shm"})
        QFile::remove(path + QLatin1String(suffix));
    const QByteArray garbage(8192, 'x');
    QVERIFY(writeFile(path, garbage));
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("granted: Invalid configuration"));
    QCOMPARE(outcome.boxesDismissed, 1);
    QVERIFY(!outcome.log.filter(path).filter(QStringLiteral("[Error]")).isEmpty());
    QCOMPARE(contentOf(path), garbage);
}

void TestBadInput::lockedRegistry()
{
    SignInRig rig;
    const QString path = rig.root().path() + QStringLiteral("/registry.db");
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    // The bytes on which every connection to the file needs a shared lock.
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0x40000000;
    lock.l_len = 512;
    QCOMPARE(::fcntl(file.handle(), F_SETLK, &lock), 0);
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("granted: Invalid configuration"));
    QVERIFY(!outcome.log.filter(path).filter(QStringLiteral("[Error]")).isEmpty());
}

void TestBadInput::unwritableFolders_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("log") << "Logs";
    QTest::newRow("storage") << "Cache";
}

void TestBadInput::unwritableFolders()
{
    QFETCH(QString, folder);
    SignInRig rig;
    QVERIFY(QDir().mkpath(korvex::platform::dataRoot()));
    // A file stands where the folder should be, which stops a privileged user too.
    QVERIFY(writeFile(korvex::platform::dataRoot() + QLatin1Char('/') + folder, "not a folder"));
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QVERIFY(!outcome.crashed);
}

void TestBadInput::fullLog()
{
    SignInRig rig;
    QVERIFY(QDir().mkpath(QFileInfo(rig.root().logPath()).path()));
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), rig.root().logPath()));
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QVERIFY(outcome.output.contains("User access granted, reason: User allowed by Korvex server"));
}

void TestBadInput::fullDisk()
{
    SignInRig rig;
    QVERIFY(QDir().mkpath(korvex::platform::dataRoot()));
    if (QProcess::execute(QStringLiteral("unshare"), {"-rm", "true"}) != 0)
        QSKIP("no namespace of its own may be made here");
    // File systems of no size for installation, log and web storage, in a namespace of the host's.
    const QString fill =
        QStringLiteral("for folder in '%1' '%2'; do mount -t tmpfs -o size=64k tmpfs \"$folder\";"
                       " cat /dev/zero >\"$folder/filler\" 2>&-; done; exec \"$@\"");
    rig.setWrapper({"unshare", "-rm", "sh", "-c",
                    fill.arg(korvex::platform::dataRoot(), korvex::platform::installDirectory()),
                    "sh"});
    rig.environment.insert("QTWEBENGINE_DISABLE_SANDBOX", "1"); // root in that namespace
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QVERIFY(outcome.output.contains("User access granted, reason: User allowed by Korvex server"));
    QVERIFY(korvex::mainKey().readString(QStringLiteral("systemToken")).has_value());
}

QTEST_GUILESS_MAIN(TestBadInput)
#include "tst_bad_input.moc"
