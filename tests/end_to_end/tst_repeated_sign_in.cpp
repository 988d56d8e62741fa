#include "end_to_end/sign_in_rig.h"
#include "platform/library.h"
#include "platform/paths.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using Kind = korvex::mfa_service::Behaviour::Kind;
using namespace korvex::test;

namespace {

const QString kAlice = "{\"user\":\"alice@example.com\",\"ip\":\"\"}";
const QString kRoot = "{\"user\":\"root\",\"ip\":\"10.0.0.5\"}";
const QString kDaemon = "{\"user\":\"CORP\\daemon\",\"ip\":\"\"}";

QStringList namesSent(SignInRig& rig)
{
    QStringList names;
    for (const QByteArray& body : rig.bodiesOf("/api/transaction/init"))
        names.append(QJsonDocument::fromJson(body)["username"].toString());
    return names;
}

} // namespace

/// A logon process calls the library again after a denial, for the same user or another.
class TestRepeatedSignIn : public QObject
{
    Q_OBJECT

private slots:
    void threeUsers();
    void loadRetriesStartAnew();
    void otherThreadIsRefused();
    void verdictInMessageBox();
    void qtConf();
};

void TestRepeatedSignIn::threeUsers()
{
    // The second is refused before its page, with a message box; the UPN of the first must not
    // serve for it.
    const QStringList users{kAlice, kRoot, "{\"user\":\"bob@example.org\"}"};
    for (const QStringList& arguments : {users, QStringList("--thread") + users}) {
        SignInRig rig;
        rig.set("sendUPN", 1);
        const Outcome outcome = rig.run(arguments);
        QCOMPARE(outcome.verdicts, QVector<int>({1, 0, 1}));
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.log.filter("User access denied").join('|'),
                 "User access denied, reason: Could not retrieve correct UPN!");
        // Nothing is posted for a user without a UPN.
        QCOMPARE(namesSent(rig), QStringList({"alice@example.com", "bob@example.org"}));
        const QDir cache(korvex::platform::dataRoot() + "/Cache");
        QCOMPARE(cache.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 2);
    }
}

void TestRepeatedSignIn::loadRetriesStartAnew()
{
    SignInRig rig;
    rig.service().setBehaviour("/signin", {.kind = Kind::Status500, .times = 14});
    const Outcome outcome = rig.run({kDaemon, kDaemon});
    // Eleven failures end the first; three more are forgiven to the second.
    QCOMPARE(outcome.verdicts, QVector<int>({0, 1}));
}

void TestRepeatedSignIn::otherThreadIsRefused()
{
    SignInRig rig;
    const Outcome outcome = rig.run({kAlice, "--thread", kRoot});
    QCOMPARE(outcome.verdicts, QVector<int>({1, 0}));
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(outcome.log.last().startsWith("[Error] Sign-in refused: "));
    QCOMPARE(namesSent(rig).size(), 1);
}

void TestRepeatedSignIn::verdictInMessageBox()
{
    // A box that closes as the last window must not end the next sign-in.
    SignInRig rig;
    rig.service().setBehaviour("/api/transaction/init",
                               {.kind = Kind::EnvelopeError, .code = 10, .times = 2});
    const Outcome outcome = rig.run({kDaemon, kDaemon, kDaemon});
    QCOMPARE(outcome.verdicts, QVector<int>({1, 1, 1}));
    QCOMPARE(outcome.boxesDismissed, 2);
    QCOMPARE(outcome.lastVerdict(), "granted: User allowed by Korvex server");
}

void TestRepeatedSignIn::qtConf()
{
    SignInRig rig;
    QCOMPARE(rig.signIn().verdicts, QVector<int>{1});
    const QDir folder(korvex::platform::installDirectory());
    QFile file(folder.filePath("qt.conf"));
    QCOMPARE(contentOf(file.fileName()), korvex::platform::initialQtConf());
    QVERIFY(file.permissions() & QFile::ReadOther);
    // One that is there already stays as it is, and nothing is left beside it.
    QVERIFY(file.open(QIODevice::Append) && file.write("; an administrator's own line") > 0);
    file.close();
    const QByteArray own = contentOf(file.fileName());
    QCOMPARE(rig.signIn().verdicts, QVector<int>{1});
    QCOMPARE(contentOf(file.fileName()), own);
    QCOMPARE(folder.entryList({"qt.conf*"}), QStringList("qt.conf"));
}

QTEST_GUILESS_MAIN(TestRepeatedSignIn)
#include "tst_repeated_sign_in.moc"
