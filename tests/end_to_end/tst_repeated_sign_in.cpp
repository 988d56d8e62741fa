#include "end_to_end/sign_in_rig.h"
#include "platform/paths.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using korvex::mfa_service::Behaviour;
using korvex::test::Outcome;
using korvex::test::SignInRig;

namespace {

const QString kAlice = QStringLiteral("{\"user\":\"alice@example.com\",\"ip\":\"\"}");
const QString kRoot = QStringLiteral("{\"user\":\"root\",\"ip\":\"10.0.0.5\"}");
const QString kDaemon = QStringLiteral("{\"user\":\"CORP\\daemon\",\"ip\":\"\"}");

QStringList namesSent(SignInRig& rig)
{
    QStringList names;
    for (const auto& request : rig.service().requests())
        if (request.path == QLatin1String("/api/transaction/init"))
            names.append(QJsonDocument::fromJson(request.body)["username"].toString());
    return names;
}

} // namespace

/// A logon process calls the library again after a denial, for the same user or another.
class TestRepeatedSignIn : public QObject
{
    Q_OBJECT

private slots:
    void threeUsers_data();
    void threeUsers();
    void loadRetriesStartAnew();
    void otherThreadIsRefused();
    void verdictInMessageBox();
};

void TestRepeatedSignIn::threeUsers_data()
{
    QTest::addColumn<bool>("ownThread");
    QTest::newRow("main thread") << false;
    QTest::newRow("another thread") << true;
}

void TestRepeatedSignIn::threeUsers()
{
    QFETCH(bool, ownThread);
    SignInRig rig;
    rig.set(QStringLiteral("sendUPN"), 1);
    // The second is refused before its page, with a message box; the UPN of the first must not
    // serve for it.
    QStringList arguments{kAlice, kRoot, QStringLiteral("{\"user\":\"bob@example.org\"}")};
    if (ownThread)
        arguments.prepend(QStringLiteral("--thread"));
    const Outcome outcome = rig.run(arguments);
    QCOMPARE(outcome.verdicts, QVector<int>({1, 0, 1}));
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.log.filter(QStringLiteral("User access")),
             QStringList({"User access granted, reason: User allowed by Korvex server",
                          "User access denied, reason: Could not retrieve correct UPN!",
                          "User access granted, reason: User allowed by Korvex server"}));
    // Nothing is posted for a user without a UPN.
    QCOMPARE(namesSent(rig), QStringList({"alice@example.com", "bob@example.org"}));
    const QDir cache(korvex::platform::dataRoot() + QStringLiteral("/Cache"));
    QCOMPARE(cache.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 2);
}

void TestRepeatedSignIn::loadRetriesStartAnew()
{
    SignInRig rig;
    rig.service().setBehaviour(QStringLiteral("/signin"),
                               {.kind = Behaviour::Kind::Status500, .times = 14});
    const Outcome outcome = rig.run({kDaemon, kDaemon});
    // Eleven failures end the first; three more are forgiven to the second.
    QCOMPARE(outcome.verdicts, QVector<int>({0, 1}));
}

void TestRepeatedSignIn::otherThreadIsRefused()
{
    SignInRig rig;
    const Outcome outcome = rig.run({kAlice, QStringLiteral("--thread"), kRoot});
    QCOMPARE(outcome.verdicts, QVector<int>({1, 0}));
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(outcome.log.last().startsWith(QStringLiteral("[Error] Sign-in refused: ")));
    QCOMPARE(namesSent(rig).size(), 1);
}

void TestRepeatedSignIn::verdictInMessageBox()
{
    // A box that closes as the last window must not end the next sign-in.
    SignInRig rig;
    rig.service().setBehaviour(QStringLiteral("/api/transaction/init"),
                               {.kind = Behaviour::Kind::EnvelopeError, .code = 10, .times = 2});
    const Outcome outcome = rig.run({kDaemon, kDaemon, kDaemon});
    QCOMPARE(outcome.verdicts, QVector<int>({1, 1, 1}));
    QCOMPARE(outcome.boxesDismissed, 2);
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("granted: User allowed by Korvex server"));
}

QTEST_GUILESS_MAIN(TestRepeatedSignIn)
#include "tst_repeated_sign_in.moc"
