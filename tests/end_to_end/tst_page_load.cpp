#include "end_to_end/sign_in_rig.h"

#include <QTest>

using namespace korvex::test;
using Kind = korvex::mfa_service::Behaviour::Kind;

namespace {

const QString kPage = "/signin";

} // namespace

/// What becomes of a sign-in whose page does not load as it should.
class TestPageLoad : public QObject
{
    Q_OBJECT

private slots:
    void neverLoads();
    void scriptThatNeverYields();
    void tokenBeforeTheLoadHasFinished();
    void laterFailureIsIgnored();
    void untrustedCertificate();
};

void TestPageLoad::neverLoads()
{
    for (const auto& [kind, failMode, verdict] :
         {std::tuple(Kind::Status500, "bypass", "granted: Application exception, FailMode bypass"),
          {Kind::Hang, "deny", "denied: Application exception"}}) {
        SignInRig rig;
        rig.set("FailMode", failMode);
        rig.set("RequestTimeout", 1000);
        rig.service().setBehaviour(kPage, {.kind = kind});
        const Outcome outcome = rig.signIn();
        QCOMPARE(outcome.lastVerdict(), verdict);
        QCOMPARE(outcome.verdicts.size(), 1);
        QCOMPARE(outcome.log.filter("[Warning] Failed to load view: http://").size(), 10);
        QCOMPARE(rig.bodiesOf(kPage).size(), 11);
    }
}

void TestPageLoad::scriptThatNeverYields()
{
    SignInRig rig;
    rig.set("RequestTimeout", 300);
    rig.showScript("while (true);");
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), "denied: Application exception");
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(rig.bodiesOf(kPage).size(), 11);
}

void TestPageLoad::tokenBeforeTheLoadHasFinished()
{
    // The picture never comes, and so the load fails in the end; by then the answer to the token
    // decides, not FailMode.
    SignInRig rig;
    rig.set("FailMode", "bypass");
    rig.set("RequestTimeout", 1000);
    for (const char* const route : {"/picture", "/api/transaction/credentials"})
        rig.service().setBehaviour(route, {.kind = Kind::Hang});
    rig.showScript("document.write('<img src=/picture>'); SUBMIT");
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(),
             "granted: No or invalid response from Korvex API! FailMode bypass");
    QVERIFY(outcome.log.filter("Failed to load view").isEmpty());
}

void TestPageLoad::laterFailureIsIgnored()
{
    SignInRig rig;
    // Port 1 of loopback: nobody listens there.
    rig.showScript("setTimeout(() => { location.href = 'http://127.0.0.1:1/later'; }, 300)");
    const Outcome outcome = rig.signIn("alice", [&] {
        return !rig.root().logMessages().filter("Web title: 127.0.0.1:1/later").isEmpty() &&
               rig.display().closeTopWindow();
    });
    QVERIFY(outcome.endedWithoutVerdict());
    QVERIFY(outcome.log.filter("Failed to load view").isEmpty());
    QCOMPARE(rig.bodiesOf(kPage).size(), 1);
}

void TestPageLoad::untrustedCertificate()
{
    SignInRig rig;
    korvex::mfa_service::MfaService other({.systemToken = "x", .secretKey = "y", .https = true});
    QVERIFY(other.start());
    rig.service().setResult("/api/transaction/init", {{"webURI", other.baseUrl() + "/signin/0"}});
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.lastVerdict(), "denied: Application exception");
    QVERIFY(!outcome.log.filter("[Warning] Certificate refused: ").isEmpty());
    QVERIFY(other.requests().empty());
}

QTEST_GUILESS_MAIN(TestPageLoad)
#include "tst_page_load.moc"
