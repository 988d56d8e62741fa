#include "end_to_end/sign_in_rig.h"

#include <QDirIterator>
#include <QTest>
#include <algorithm>

using korvex::mfa_service::Behaviour;
using korvex::mfa_service::MfaService;
using korvex::test::Outcome;
using korvex::test::SignInRig;
using Kind = Behaviour::Kind;

namespace {

const QString kPage = QStringLiteral("/signin");

int countRequests(SignInRig& rig, const QString& route)
{
    const auto requests = rig.service().requests();
    return static_cast<int>(std::ranges::count_if(
        requests, [&](const auto& request) { return request.route() == route; }));
}

} // namespace

class TestPageLoad : public QObject
{
    Q_OBJECT

private slots:
    void neverLoads_data();
    void neverLoads();
    void loadsAfterFailures();
    void scriptThatNeverYields();
    void tokenBeforeTheLoadHasFinished();
    void laterFailureIsIgnored();
    void untrustedCertificate();
    void badAddress_data();
    void badAddress();
    void pageStaysInItsWindow();
};

void TestPageLoad::neverLoads_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("failMode");
    QTest::addColumn<QString>("verdict");
    QTest::newRow("500, bypass") << int(Kind::Status500) << "bypass"
                                 << "granted: Application exception, FailMode bypass";
    QTest::newRow("500, deny") << int(Kind::Status500) << "deny"
                               << "denied: Application exception";
    QTest::newRow("hang, deny") << int(Kind::Hang) << "deny" << "denied: Application exception";
}

void TestPageLoad::neverLoads()
{
    QFETCH(int, kind);
    QFETCH(QString, failMode);
    SignInRig rig;
    rig.set(QStringLiteral("FailMode"), failMode);
    rig.set(QStringLiteral("RequestTimeout"), 1000);
    rig.service().setBehaviour(kPage, {.kind = Kind(kind)});
    const Outcome outcome = rig.signIn();
    QTEST(outcome.lastVerdict(), "verdict");
    QCOMPARE(outcome.verdicts.size(), 1);
    QCOMPARE(outcome.log.filter(QStringLiteral("[Warning] Failed to load view: http://")).size(),
             10);
    QCOMPARE(countRequests(rig, kPage), 11);
}

void TestPageLoad::loadsAfterFailures()
{
    SignInRig rig;
    rig.service().setBehaviour(kPage, {.kind = Kind::Status500, .times = 3});
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("granted: User allowed by Korvex server"));
    QCOMPARE(countRequests(rig, kPage), 4);
}

void TestPageLoad::scriptThatNeverYields()
{
    SignInRig rig;
    rig.set(QStringLiteral("RequestTimeout"), 300);
    rig.showScript(QStringLiteral("while (true);"));
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("denied: Application exception"));
    QVERIFY(!outcome.crashed);
    QCOMPARE(outcome.exitCode, 1);
}

void TestPageLoad::tokenBeforeTheLoadHasFinished()
{
    // The picture never comes, and so the load fails in the end; by then the answer to the token
    // decides, not FailMode.
    SignInRig rig;
    rig.set(QStringLiteral("FailMode"), QStringLiteral("bypass"));
    rig.set(QStringLiteral("RequestTimeout"), 1000);
    rig.service().setBehaviour(QStringLiteral("/picture"), {.kind = Kind::Hang});
    rig.service().setBehaviour(QStringLiteral("/api/transaction/credentials"),
                               {.kind = Kind::Hang});
    rig.showScript(QStringLiteral("document.write('<img src=/picture>'); SUBMIT"));
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(),
             QStringLiteral("granted: No or invalid response from Korvex API! FailMode bypass"));
    QVERIFY(outcome.log.filter(QStringLiteral("Failed to load view")).isEmpty());
}

void TestPageLoad::laterFailureIsIgnored()
{
    SignInRig rig;
    // Port 1 of loopback: nobody listens there.
    rig.showScript(
        QStringLiteral("setTimeout(() => { location.href = 'http://127.0.0.1:1/later'; }, 300)"));
    const Outcome outcome = rig.run({QStringLiteral("{\"user\":\"alice\",\"ip\":\"\"}")}, [&] {
        const QStringList messages = rig.root().logMessages();
        return !messages.filter(QStringLiteral("Web title: 127.0.0.1:1/later")).isEmpty() &&
               rig.display().closeTopWindow();
    });
    QVERIFY(!outcome.crashed);
    QCOMPARE(outcome.log.last(), QStringLiteral("Close requested, terminating..."));
    QVERIFY(outcome.log.filter(QStringLiteral("Failed to load view")).isEmpty());
    QCOMPARE(countRequests(rig, kPage), 1);
}

void TestPageLoad::untrustedCertificate()
{
    SignInRig rig;
    MfaService other({.systemToken = "system-token", .secretKey = "secret-key", .https = true});
    QVERIFY(other.start());
    rig.service().setResult(QStringLiteral("/api/transaction/init"),
                            {{"webURI", other.baseUrl() + "/signin/0"}});
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("denied: Application exception"));
    QVERIFY(!outcome.log.filter(QStringLiteral("[Warning] Certificate refused: ")).isEmpty());
    QVERIFY(other.requests().empty());
}

void TestPageLoad::badAddress_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("verdict");
    const QString refused = QStringLiteral("denied: Korvex server unsupported failure response");
    QTest::newRow("none") << "" << refused;
    QTest::newRow("a file") << "file:///etc/hostname" << refused;
    QTest::newRow("no address") << "not an address" << refused;
    QTest::newRow("nobody there") << "http://127.0.0.1:1/" << "denied: Application exception";
}

void TestPageLoad::badAddress()
{
    QFETCH(QString, address);
    SignInRig rig;
    rig.service().setResult(QStringLiteral("/api/transaction/init"), {{"webURI", address}});
    const Outcome outcome = rig.signIn();
    QTEST(outcome.lastVerdict(), "verdict");
    QCOMPARE(outcome.verdicts, QVector<int>{0});
}

void TestPageLoad::pageStaysInItsWindow()
{
    SignInRig rig;
    rig.showScript(QStringLiteral("window.open('/opened');"
                                  "const link = document.createElement('a'); link.href = "
                                  "'/page/signin.css'; link.download = 'x';"
                                  "document.body.append(link); link.click();"
                                  "location.href = 'file:///etc/hostname';"
                                  "setTimeout(() => { SUBMIT }, 500);"));
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(countRequests(rig, QStringLiteral("/opened")), 0);
    // Nothing was stored beside the engine's own data.
    QDirIterator files(rig.root().path(), {QStringLiteral("x"), QStringLiteral("signin*")},
                       QDir::Files, QDirIterator::Subdirectories);
    QVERIFY(!files.hasNext());
}

QTEST_GUILESS_MAIN(TestPageLoad)
#include "tst_page_load.moc"
