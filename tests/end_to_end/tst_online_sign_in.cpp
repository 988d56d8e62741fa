#include "core/account_sid.h"
#include "core/user_folder.h"
#include "end_to_end/sign_in_rig.h"
#include "platform/paths.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <algorithm>

using korvex::test::knownAccount;
using korvex::test::Outcome;
using korvex::test::SignInRig;

namespace {

const QString kInit = QStringLiteral("/api/transaction/init");
const QString kCredentials = QStringLiteral("/api/transaction/credentials");

const QString kCode = QStringLiteral("/signin/code");

int countRequests(SignInRig& rig, const QString& route)
{
    const auto requests = rig.service().requests();
    return static_cast<int>(std::ranges::count_if(
        requests, [&](const auto& request) { return request.route() == route; }));
}

QVector<QJsonObject> bodiesOf(SignInRig& rig, const QString& path)
{
    QVector<QJsonObject> bodies;
    for (const auto& request : rig.service().requests())
        if (request.path == path)
            bodies.append(QJsonDocument::fromJson(request.body).object());
    return bodies;
}

} // namespace

class TestOnlineSignIn : public QObject
{
    Q_OBJECT

private slots:
    void personTypesTheCode();
    void remoteSignIn();
    void tokenHandOver_data();
    void tokenHandOver();
    void credentialAnswer_data();
    void credentialAnswer();
    void closedWindowEndsTheProcess();
    void germanMessages();
    void diagnosis();
};

void TestOnlineSignIn::personTypesTheCode()
{
    SignInRig rig;
    rig.showRealPage();
    // One try of the person: whatever stands in the field is replaced, the sixth digit sends it.
    const auto enter = [&](const QString& code) {
        using namespace std::chrono_literals;
        const int before = countRequests(rig, kCode);
        rig.display().press(QStringLiteral("ctrl+a"));
        rig.display().type(code);
        return rig.service().waitForRequest(kCode, 2s, before + 1);
    };
    bool wrongSent = false;
    const Outcome outcome =
        rig.run({QStringLiteral("{\"user\":\"CORP\\alice\",\"ip\":\"\"}")}, [&] {
            if (!rig.display().hasVisibleWindow())
                return false;
            const QString code = rig.code();
            if (!wrongSent) {
                const QLatin1Char other(code.startsWith(QLatin1Char('0')) ? '1' : '0');
                wrongSent = enter(other + code.mid(1));
                return false;
            }
            return enter(code);
        });
    QVERIFY(wrongSent);
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("granted: User allowed by Korvex server"));

    const QJsonObject init = bodiesOf(rig, kInit).value(0);
    QCOMPARE(init.value("username").toString(), QStringLiteral("CORP\\alice"));
    QCOMPARE(init.value("systemToken").toString(), QStringLiteral("system-token"));
    const QJsonObject params = init.value("params").toObject();
    QCOMPARE(params.keys(), QStringList({"appVer", "hostName", "hrpsk", "rdpMode"}));
    QCOMPARE(params.value("rdpMode").toBool(true), false);
    QCOMPARE(params.value("hrpsk").toString("?"), QString());
    QCOMPARE(params.value("appVer").toString(), QStringLiteral("5.5.0-67381a3"));
}

void TestOnlineSignIn::remoteSignIn()
{
    SignInRig rig;
    const QString user = knownAccount();
    const Outcome outcome =
        rig.run({QStringLiteral("{\"user\":\"%1\",\"ip\":\"10.0.0.5\"}").arg(user)});
    QCOMPARE(outcome.verdicts, QVector<int>{1});
    const QJsonObject params = bodiesOf(rig, kInit).value(0).value("params").toObject();
    QCOMPARE(params.value("userIP").toString(), QStringLiteral("10.0.0.5"));
    QVERIFY(params.value("rdpMode").toBool());

    // The page's data is kept in the user's own folder.
    const QDir cache(korvex::platform::dataRoot() + QStringLiteral("/Cache"));
    const QStringList folders = cache.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QCOMPARE(folders, QStringList{korvex::userFolderName(korvex::sidOf(user))});
    QVERIFY(QDir(cache.filePath(folders.first() + "/QtWebEngine")).exists());
    for (const auto& request : rig.service().requests()) {
        if (!request.path.startsWith(QLatin1String("/signin")))
            continue;
        QCOMPARE(request.headers.value("ngrok-skip-browser-warning"), QByteArray("true"));
        QVERIFY(request.headers.value("user-agent").contains("Chrome/71.0.3578.80"));
        QVERIFY(request.headers.value("accept-language").contains(";q=0.9"));
    }
}

void TestOnlineSignIn::tokenHandOver_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("sent");
    QTest::newRow("JSON") << R"(document.title = '{"token":"x"}')" << "x";
    QTest::newRow("JSON with more")
        << R"(document.title = '{"a":1, "token":"\u017c"}')" << QString(QChar(0x17c));
    QTest::newRow("not JSON") << "document.title = 'token'" << "";
    QTest::newRow("not a text") << R"(document.title = '{"token":5}')" << "";
    QTest::newRow("an ordinary title and 'Token' before")
        << R"(document.title = 'Welcome'; setTimeout(() => { document.title = 'Token';
              setTimeout(() => { document.title = '{"token":"y"}'; }, 200); }, 200))"
        << "y";
    QTest::newRow("only the first counts") << R"(document.title = '{"token":"first"}';
              setInterval(() => { document.title = '{"token":"' + Math.random() + '"}'; }, 1))"
                                           << "first";
}

void TestOnlineSignIn::tokenHandOver()
{
    QFETCH(QString, script);
    QFETCH(QString, sent);
    SignInRig rig;
    rig.showScript(script);
    const Outcome outcome = rig.signIn();
    // None of these is a token that the service knows.
    QCOMPARE(outcome.verdicts, QVector<int>{0});
    QCOMPARE(outcome.lastVerdict(),
             QStringLiteral("denied: Korvex server unsupported failure response"));
    const QVector<QJsonObject> bodies = bodiesOf(rig, kCredentials);
    QCOMPARE(bodies.size(), 1);
    QCOMPARE(bodies.first(), QJsonObject({{"systemToken", "system-token"}, {"accessToken", sent}}));
}

void TestOnlineSignIn::credentialAnswer_data()
{
    QTest::addColumn<QJsonObject>("result");
    QTest::addColumn<int>("verdict");
    QTest::addColumn<QString>("reason");
    const QString mismatch = QStringLiteral("denied: Authentication data does not match");
    const QString broken = QStringLiteral("denied: Korvex server unsupported failure response");
    const QJsonObject right{{"systemToken", "system-token"}, {"username", "CORP\\alice"}};
    auto with = [&](const QString& name, const QJsonValue& value) {
        QJsonObject result = right;
        result.insert(name, value);
        return result;
    };
    auto without = [&](const QString& name) {
        QJsonObject result = right;
        result.remove(name);
        return result;
    };
    QTest::newRow("right") << right << 1 << "granted: User allowed by Korvex server";
    QTest::newRow("new offline secret")
        << with("erpsk", "c2VhbGVk") << 1 << "granted: User allowed by Korvex server";
    QTest::newRow("other case") << with("username", "CORP\\Alice") << 0 << mismatch;
    QTest::newRow("other user") << with("username", "CORP\\bob") << 0 << mismatch;
    QTest::newRow("user is no text") << with("username", 5) << 0 << mismatch;
    QTest::newRow("other system") << with("systemToken", "other") << 0 << mismatch;
    QTest::newRow("no user") << without("username") << 0 << broken;
    QTest::newRow("no system") << without("systemToken") << 0 << broken;
}

void TestOnlineSignIn::credentialAnswer()
{
    QFETCH(QJsonObject, result);
    QFETCH(int, verdict);
    SignInRig rig;
    rig.set(QStringLiteral("FailMode"), QStringLiteral("bypass")); // has no say in these
    rig.service().setResult(kCredentials, result);
    const Outcome outcome = rig.signIn(QStringLiteral("CORP\\alice"));
    QCOMPARE(outcome.verdicts, QVector<int>{verdict});
    QCOMPARE(outcome.exitCode, verdict == 1 ? 0 : 1);
    QTEST(outcome.lastVerdict(), "reason");
}

void TestOnlineSignIn::closedWindowEndsTheProcess()
{
    SignInRig rig;
    rig.showRealPage();
    const Outcome outcome = rig.run({QStringLiteral("{\"user\":\"alice\",\"ip\":\"\"}")}, [&] {
        return rig.display().hasVisibleWindow() && rig.display().closeTopWindow();
    });
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY(!outcome.crashed);
    QVERIFY(outcome.verdicts.isEmpty());
    QCOMPARE(outcome.log.last(), QStringLiteral("Close requested, terminating..."));
}

void TestOnlineSignIn::germanMessages()
{
    SignInRig rig;
    rig.environment = {{"LANGUAGE", "de_AT"}, {"LANG", "de_AT.UTF-8"}};
    rig.service().setBehaviour(
        kInit, {.kind = korvex::mfa_service::Behaviour::Kind::EnvelopeError, .code = 9});
    const Outcome outcome = rig.signIn();
    QCOMPARE(outcome.verdicts, QVector<int>{0});
    QVERIFY(outcome.log.contains(QStringLiteral(
        "[MessageBox] Zugriff verweigert!, Fehlerhafte Anfrage an die Korvex-API.")));
}

void TestOnlineSignIn::diagnosis()
{
    SignInRig rig;
    rig.set(QStringLiteral("debugKorvexRequests"), 1);
    const Outcome outcome =
        rig.run({QStringLiteral("{\"user\":\"alice\"}"), QStringLiteral("{\"user\":\"bob\"}")});
    QCOMPARE(outcome.verdicts, QVector<int>({1, 1}));
    QVERIFY(!outcome.crashed);
    QCOMPARE(outcome.exitCode, 0);
    // Two for each, and the company data once.
    QCOMPARE(outcome.log.filter(QStringLiteral("[Debug Requests] [POST] Response: {")).size(), 5);
    QVERIFY(!outcome.output.contains("secret-key"));
}

QTEST_GUILESS_MAIN(TestOnlineSignIn)
#include "tst_online_sign_in.moc"
