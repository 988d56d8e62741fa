#include "end_to_end/sign_in_rig.h"
#include "platform/library.h"
#include "platform/paths.h"

#include <QDir>
#include <QFile>
#include <QTest>

using Kind = korvex::mfa_service::Behaviour::Kind;
using namespace korvex::test;

namespace {

const QString kAlice = "{\"user\":\"alice@example.com\",\"ip\":\"\"}";
const QString kRoot = "{\"user\":\"root\",\"ip\":\"10.0.0.5\"}";
const QString kInit = "/api/transaction/init";
const QString kDaemon = "{\"user\":\"CORP\\daemon\",\"ip\":\"\"}";

} // namespace

/// A logon process calls the library again after a denial, for the same user or another.
class TestRepeatedSignIn : public QObject
{
    Q_OBJECT

private slots:
    void threeUsers();
    void boxesAndLoadRetries();
    void otherThreadIsRefused();
    void qtConf();
};

void TestRepeatedSignIn::threeUsers()
{
    // The second is refused before its page; the UPN of the first must not serve for it.
    const QStringList users{kAlice, kRoot, "{\"user\":\"bob@example.org\"}"};
    for (const QStringList& arguments : {users, QStringList("--thread") + users}) {
        SignInRig rig;
        rig.set("sendUPN", 1);
        const Outcome outcome = rig.run(arguments);
        QCOMPARE(outcome.verdicts, QVector<int>({1, 0, 1}));
        QCOMPARE(outcome.log.filter("User access denied").join('|'),
                 "User access denied, reason: Could not retrieve correct UPN!");
        // Nothing is posted for a user without a UPN.
        const QByteArrayList sent = rig.bodiesOf(kInit);
        QCOMPARE(sent.size(), 2);
        QVERIFY(sent[0].contains("alice@example.com") && sent[1].contains("bob@example.org"));
        const QDir cache(korvex::platform::dataRoot() + "/Cache");
        QCOMPARE(cache.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 2);
    }
}

void TestRepeatedSignIn::boxesAndLoadRetries()
{
    // A box that closes as the last window must not end the next sign-in.
    SignInRig rig;
    rig.service().setBehaviour(kInit, {.kind = Kind::EnvelopeError, .code = 10, .times = 2});
    rig.service().setBehaviour("/signin", {.kind = Kind::Status500, .times = 14});
    const Outcome outcome = rig.run({kDaemon, kDaemon, kDaemon, kDaemon});
    // Eleven failures end the third; three more are forgiven to the fourth.
    QCOMPARE(outcome.verdicts, QVector<int>({1, 1, 0, 1}));
    QCOMPARE(outcome.boxesDismissed, 2);
}

void TestRepeatedSignIn::otherThreadIsRefused()
{
    SignInRig rig;
    const Outcome outcome = rig.run({kAlice, "--thread", kRoot});
    QCOMPARE(outcome.verdicts, QVector<int>({1, 0}));
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(outcome.log.last().startsWith("[Error] Sign-in refused: "));
    QCOMPARE(rig.bodiesOf(kInit).size(), 1);
}

void TestRepeatedSignIn::qtConf()
{
    SignInRig rig;
    QCOMPARE(rig.signIn().verdicts, QVector<int>{1});
    const QDir folder(korvex::platform::installDirectory());
    const QString path = folder.filePath("qt.conf");
    QCOMPARE(contentOf(path), korvex::platform::initialQtConf());
    QVERIFY(QFile::permissions(path) & QFile::ReadOther);
    // One that is there already stays as it is, and nothing is left beside it.
    const QByteArray own = contentOf(path) + "; an administrator's own line";
    QVERIFY(writeFile(path, own));
    QCOMPARE(rig.signIn().verdicts, QVector<int>{1});
    QCOMPARE(contentOf(path), own);
    QCOMPARE(folder.entryList({"qt.conf*"}), QStringList("qt.conf"));
}

QTEST_GUILESS_MAIN(TestRepeatedSignIn)
#include "tst_repeated_sign_in.moc"
