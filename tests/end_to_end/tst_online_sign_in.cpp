#include "core/account_sid.h"
#include "core/user_folder.h"
#include "end_to_end/sign_in_rig.h"
#include "platform/paths.h"

#include <QDir>
#include <QJsonObject>
#include <QTest>

using namespace korvex::test;

const QString kCredentials = "/api/transaction/credentials";
const QString kCode = "/signin/code";

class TestOnlineSignIn : public QObject
{
    Q_OBJECT

private slots:
    void personTypesTheCode();
    void browser();
    void tokenHandOver();
    void credentialAnswer();
    void closedWindowEndsTheProcess();
    void germanMessages();
};

void TestOnlineSignIn::personTypesTheCode()
{
    SignInRig rig;
    rig.showRealPage();
    // One try of the person: whatever stands in the field is replaced, the sixth digit sends it.
    const auto enter = [&](const QString& code) {
        using namespace std::chrono_literals;
        const int before = rig.bodiesOf(kCode).size();
        rig.display().press("ctrl+a");
        rig.display().type(code);
        return rig.service().waitForRequest(kCode, 2s, before + 1);
    };
    bool wrongSent = false;
    const Outcome outcome = rig.signIn("CORP\\alice", [&] {
        if (!rig.display().hasVisibleWindow() || wrongSent)
            return wrongSent && enter(rig.code());
        wrongSent = enter((rig.code().startsWith('0') ? '1' : '0') + rig.code().mid(1));
        return false;
    });
    QVERIFY(wrongSent);
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.exitCode, 0);
}

void TestOnlineSignIn::browser()
{
    SignInRig rig;
    QCOMPARE(rig.signIn(knownAccount()).verdicts, QVector<int>{1});
    // The page's data is kept in the user's own folder.
    const QDir cache(korvex::platform::dataRoot() + "/Cache");
    const QString folder = korvex::userFolderName(korvex::sidOf(knownAccount()));
    QCOMPARE(cache.entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList{folder});
    QVERIFY(cache.exists(folder + "/QtWebEngine"));
    for (const auto& request : rig.service().requests()) {
        if (!request.path.startsWith("/signin"))
            continue;
        QCOMPARE(request.headers.value("ngrok-skip-browser-warning"), QByteArray("true"));
        QVERIFY(request.headers.value("user-agent").contains("Chrome/71.0.3578.80"));
        QVERIFY(request.headers.value("accept-language").contains(";q=0.9"));
    }
}

void TestOnlineSignIn::tokenHandOver()
{
    // Neither is a token that the service knows.
    for (const auto& [script, sent] :
         {std::pair("document.title = 'token'", ""),
          {R"(document.title = 'Welcome'; setTimeout(() => { document.title = 'Token';
              setTimeout(() => { document.title = '{"a":1, "token":"\u017c"}'; }, 200); }, 200))",
           "\u017c"}}) {
        SignInRig rig;
        rig.showScript(script);
        QCOMPARE(rig.signIn().verdicts, QVector<int>{0});
        const QByteArray body =
            QByteArray("{\"accessToken\":\"") + sent + "\",\"systemToken\":\"system-token\"}";
        QCOMPARE(rig.bodiesOf(kCredentials).join(), body);
    }
}

void TestOnlineSignIn::credentialAnswer()
{
    const QString mismatch = "denied: Authentication data does not match";
    for (const auto& [result, verdict] :
         {std::pair(QJsonObject{{"systemToken", "other"}, {"username", "CORP\\alice"}}, mismatch),
          {{{"systemToken", "system-token"}, {"username", "CORP\\Alice"}}, mismatch},
          {{{"systemToken", "system-token"}}, "denied: Korvex server unsupported failure response"},
          {{{"username", "CORP\\alice"}}, "denied: Korvex server unsupported failure response"}}) {
        SignInRig rig;
        rig.set("FailMode", "bypass"); // has no say in these
        rig.service().setResult(kCredentials, result);
        QCOMPARE(rig.signIn("CORP\\alice").lastVerdict(), verdict);
    }
}

void TestOnlineSignIn::closedWindowEndsTheProcess()
{
    SignInRig rig;
    rig.showRealPage();
    const Outcome outcome = rig.signIn("alice", [&] { return rig.display().closeTopWindow(); });
    QVERIFY(outcome.endedWithoutVerdict());
    QCOMPARE(outcome.log.last(), "Close requested, terminating...");
}

void TestOnlineSignIn::germanMessages()
{
    SignInRig rig;
    rig.environment = {{"LANGUAGE", "de_AT"}, {"LANG", "de_AT.UTF-8"}};
    rig.service().setBehaviour(
        "/api/transaction/init",
        {.kind = korvex::mfa_service::Behaviour::Kind::EnvelopeError, .code = 9});
    QVERIFY(rig.signIn().log.contains(
        "[MessageBox] Zugriff verweigert!, Fehlerhafte Anfrage an die Korvex-API."));
}

QTEST_GUILESS_MAIN(TestOnlineSignIn)
#include "tst_online_sign_in.moc"
