#include "core/openssl_program.h"
#include "mfa_service/contract.h"
#include "rest/raw_server.h"
#include "rest/rest_client.h"
#include "rest/service_envelope.h"
#include "rest/service_settings.h"
#include "rest/service_state.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace korvex;
using mfa_service::Behaviour;
using test::kInit;
using test::kSecretKey;
using test::RawServer;
using Kind = Behaviour::Kind;

Q_DECLARE_METATYPE(Behaviour)

namespace {

const QByteArray kInitBody =
    R"({"params":{"appVer":"x","hostName":"h","hrpsk":"","rdpMode":false},)"
    R"("systemToken":"system-token","username":"alice"})";
const QByteArray kAnswer = R"({"result":{"a":1},"status":"OK"})";
const QByteArray kBypass =
    R"({"status":"ERROR","result":{"code":45,"exception":"UserBypassedException"}})";
constexpr int kMaxAnswer = 4 * 1024 * 1024;

QByteArray signatureOf(const QByteArray& body)
{
    return "X-Korvex-Signature: " + mfa_service::signature(kSecretKey.toUtf8(), body) + "\r\n";
}

/// The code and message of an error, "0" without one.
template <typename T>
QString errorOf(const Result<T>& result)
{
    if (result)
        return "0";
    return QString("%1 ").arg(int(result.error().code)).append(result.error().message).trimmed();
}

QString postInit()
{
    return errorOf(KorvexRestAPIClient().post(kInit, QJsonDocument::fromJson(kInitBody)));
}

/// "network error/HTTP status" of each failed transfer that the log tells of.
QString transferFailures(const QStringList& log)
{
    static const QRegularExpression line(
        "^\\[Warning\\] Http request error '(\\d+)' '.+', http code '(\\d+)'$");
    QStringList found;
    for (const QString& message : log.filter(line))
        found << QString(message).replace(line, "\\1/\\2");
    return found.join(' ');
}

void useServer(const QString& baseUrl)
{
    mainKey().writeString("korvexApiServer", baseUrl);
}

} // namespace

class TestRestClient : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }
    void cleanup() { QVERIFY(!m_state.secretWasLogged()); }

    void signature_data();
    void signature();
    void signedRequest();
    void unsignedRequests();
    void misbehaviour_data();
    void misbehaviour();
    void rawAnswer_data();
    void rawAnswer();
    void nothingKeptBetweenRequests();
    void requestLog();
    void settings();
    void envelope_data();
    void envelope();

private:
    test::ServiceState m_state{true};
};

void TestRestClient::signature_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("digest"); // empty to ask the openssl program
    const auto row = [](const char* name, const QString& key, const QByteArray& body,
                        const char* digest = "") {
        QTest::newRow(name) << key << body << QByteArray(digest);
    };
    row("RFC 4231, 2", "Jefe", "what do ya want for nothing?",
        "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    row("openssl, empty body", kSecretKey, "");
    row("openssl, key over a block", QString(65, 'k'), kInitBody);
    row("openssl, key in local 8-bit form", QString::fromUtf8("zażółć"), QByteArray("\0\xff", 2));
}

void TestRestClient::signature()
{
    QFETCH(QString, key);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, digest);
    mainKey().writeString("SecretKey", key);
    if (digest.isEmpty())
        digest = test::opensslDigest(
            {"-sha256", "-mac", "HMAC", "-macopt", "hexkey:" + key.toLocal8Bit().toHex()}, body);
    QCOMPARE(KorvexRestAPIClient().sign(body), digest);
}

void TestRestClient::signedRequest()
{
    const QByteArray patch = "{\"a\":\"\\u0000\\\"\\\\é\"}";
    KorvexRestAPIClient client;
    QVERIFY(client.post(kInit, QJsonDocument::fromJson(kInitBody)));
    QCOMPARE(errorOf(client.patch(kInit, QJsonDocument::fromJson(patch))), QString("1002")); // 404
    const auto requests = m_state.service().requests();
    QCOMPARE(requests.size(), std::size_t{2});
    QCOMPARE(requests[0].method, QByteArray("POST"));
    QCOMPARE(requests[0].body, kInitBody);
    QCOMPARE(requests[1].method, QByteArray("PATCH"));
    QCOMPARE(requests[1].body, patch);
    for (const auto& request : requests) {
        QCOMPARE(request.path, kInit);
        QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
        QCOMPARE(request.headers.value("accept"), QByteArray("application/json"));
        QCOMPARE(request.headers.value("x-korvex-signature"),
                 test::opensslDigest({"-sha256", "-hmac", kSecretKey}, request.body));
    }
}

void TestRestClient::unsignedRequests()
{
    RawServer peer;
    peer.answer = RawServer::http("200 OK", "\x89PNG");
    const QString address = "http://" + peer.authority();
    QCOMPARE(KorvexRestAPIClient::get(address + "/logo?x=%2F").value(), QByteArray("\x89PNG"));
    QVERIFY(m_state.paths().isEmpty());
    useServer(address);
    QVERIFY(KorvexRestAPIClient().probe());
    QCOMPARE(peer.requests.size(), 2);
    QVERIFY(peer.requests[0].startsWith("GET /logo?x=%2F HTTP/1.1\r\n"));
    QVERIFY(peer.requests[1].startsWith("GET / HTTP/1.1\r\n"));
    for (const QByteArray& request : qAsConst(peer.requests)) {
        QVERIFY(request.toLower().contains("\r\naccept-encoding: identity\r\n"));
        for (const char* const header : {"\r\nx-korvex-", "\r\naccept:", "\r\ncontent-"})
            QVERIFY2(!request.toLower().contains(header), request.constData());
    }
    peer.answer = RawServer::http("200 OK", QByteArray(kMaxAnswer, 'x'));
    QCOMPARE(KorvexRestAPIClient::get(address).value().size(), kMaxAnswer);
}

void TestRestClient::misbehaviour_data()
{
    QTest::addColumn<Behaviour>("behaviour");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("transfer"); // network error and HTTP status, when it failed
    const auto row = [](const char* name, const Behaviour& behaviour, const char* error,
                        const char* transfer = "") {
        QTest::newRow(name) << behaviour << error << transfer;
    };
    row("wrong signature", {Kind::WrongSignature}, "9");
    row("missing signature", {Kind::MissingSignature}, "9");
    row("upper-case signature", {Kind::UpperCaseSignature}, "9");
    row("redirect", {Kind::Redirect}, "9");
    row("unsigned bypass", {Kind::UnsignedUserBypassedException}, "45 The user is exempt");
    row("cut short", {Kind::CutShort}, "1002", "2/200");
    row("64 MiB body", {Kind::HugeBody}, "1002", "5/200");
    row("endless slow body", {Kind::EndlessSlowBody}, "1002", "5/200");
    row("hang", {Kind::Hang}, "1002", "5/0");
}

void TestRestClient::misbehaviour()
{
    QFETCH(Behaviour, behaviour);
    const bool timesOut = behaviour.kind == Kind::EndlessSlowBody || behaviour.kind == Kind::Hang;
    if (timesOut)
        mainKey().writeNumber("RequestTimeout", 400);
    m_state.service().setBehaviour(kInit, behaviour);
    QElapsedTimer time;
    time.start();
    QTEST(postInit(), "error");
    const qint64 elapsed = time.elapsed();
    if (timesOut)
        QVERIFY2(elapsed >= 350 && elapsed < 4000, QByteArray::number(elapsed));
    QTEST(transferFailures(m_state.takeLog()), "transfer");
}

void TestRestClient::rawAnswer_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("probeError");
    const auto row = [](const char* name, const QByteArray& answer, const char* error,
                        const char* probeError = "0") {
        QTest::newRow(name) << answer << error << probeError;
    };
    // Statuses, each with an answer that would be good.
    const auto status = [&row](const char* text, const QByteArray& body, const char* error,
                               const char* probeError) {
        row(text + QByteArray::number(body.size()), RawServer::http(text, body, signatureOf(body)),
            error, probeError);
    };
    status("201 Created", kAnswer, "0", "0");
    status("400 Bad Request", kAnswer, "0", "0");
    status("400 Bad Request", "<html>", "1003", "0");
    status("400 Bad Request", "", "1002", "1002");
    status("401 Unauthorized", kAnswer, "1002", "1002");
    status("418 Teapot", kAnswer, "1002", "1002");
    status("503 Unavailable", kAnswer, "1001", "1001");
    status("599 Odd", kAnswer, "1001", "1001");

    // Answers with status 200.
    const auto ok = [](const QByteArray& body, const QByteArray& headers) {
        return RawServer::http("200 OK", body, headers);
    };
    const QByteArray tooLarge = kAnswer.leftJustified(kMaxAnswer + 1);
    row("over 4 MiB", ok(tooLarge, signatureOf(tooLarge)), "1002", "1002");
    // Not unpacked, so that nothing small becomes large.
    const QByteArray packed = qCompress(tooLarge).mid(4);
    row("packed unasked", ok(packed, "Content-Encoding: deflate\r\n" + signatureOf(packed)),
        "1003");
    row("two signatures", ok(kAnswer, signatureOf(kAnswer) + signatureOf(kAnswer)), "9");
    row("signature of less", ok(kAnswer + '\n', signatureOf(kAnswer)), "9");
    row("bypass, empty signature", ok(kBypass, "X-Korvex-Signature:\r\n"), "45");
    row("bypass, wrong signature", ok(kBypass, "X-Korvex-Signature: 0\r\n"), "9");
    row("no HTTP", "SSH-2.0-x\r\n", "1002", "1002");
}

void TestRestClient::rawAnswer()
{
    QFETCH(QByteArray, answer);
    RawServer peer;
    peer.answer = answer;
    useServer("http://" + peer.authority());
    QTEST(postInit(), "error");
    QTEST(errorOf(KorvexRestAPIClient().probe()), "probeError");
}

void TestRestClient::nothingKeptBetweenRequests()
{
    RawServer peer;
    useServer("http://user:password@" + peer.authority());
    KorvexRestAPIClient client;
    peer.answer = RawServer::http("200 OK", "x", "Set-Cookie: a=b; Path=/\r\n");
    QVERIFY(client.probe());
    peer.answer = RawServer::http("401 No", "x", "WWW-Authenticate: Basic realm=\"x\"\r\n");
    QVERIFY(!client.probe());
    QVERIFY(!client.probe());
    QVERIFY(peer.requests.size() >= 3);
    for (const QByteArray& request : qAsConst(peer.requests))
        for (const char* const header : {"\r\ncookie:", "\r\nauthorization:"})
            QVERIFY2(!request.toLower().contains(header), request.constData());
}

void TestRestClient::requestLog()
{
    // Authentic answers are logged, and nothing else is.
    m_state.service().setResult(kInit, {{"a", QString::fromUtf8("ż")}});
    QCOMPARE(postInit(), QString("0"));
    QCOMPARE(m_state.takeLog().join('|'),
             QString::fromUtf8("[Debug Requests] [POST] Response: "
                               "{\"result\":{\"a\":\"ż\"},\"status\":\"OK\"}"));
    m_state.service().setBehaviour(kInit, {Kind::WrongSignature});
    QCOMPARE(postInit(), QString("9"));
    QVERIFY(KorvexRestAPIClient().probe());
    QCOMPARE(m_state.takeLog(), QStringList());
}

void TestRestClient::settings()
{
    // No number of milliseconds may mean that a request waits for ever.
    for (const auto& [stored, expected] : {std::pair(1, 1), {0, 20000}, {-1, 20000}}) {
        mainKey().writeNumber("RequestTimeout", stored);
        QCOMPARE(requestTimeout(), expected);
    }
    mainKey().writeNumber("korvexApiServer", 5); // reads as an absent one
    QCOMPARE(apiServer(), QString(KORVEX_DEFAULT_API_SERVER));
}

void TestRestClient::envelope_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected"); // the result, else the error
    QTest::addColumn<QString>("warning");
    const auto row = [](const QByteArray& body, const char* expected, const char* warning = "") {
        QTest::newRow(body.left(70).constData())
            << body << QString::fromUtf8(expected) << QString::fromUtf8(warning);
    };
    const char* const unknown = "[Warning] Unknown API exception: 0 ''";
    row(R"({"status":"OK","result":{"code":10,"b":[]}})", R"({"b":[],"code":10})");
    row(R"({"status":"OK","result":{}})", "1000", unknown);
    row(R"({"status":"ok","result":{"a":1}})", "1000", unknown);
    row(R"({"result":{"code":9,"details":"ż\n\"","exception":"e"}})", "9 ż\n\"");
    for (const char* const code : {"10", "11", "45", "81", "82", "83", "84"})
        row(QByteArray(R"({"status":0,"result":{"code":)") + code + ".0}}", code);
    row(R"({"status":"ERROR","result":{"code":"10"}})", "1000", unknown);
    row(R"({"status":"ERROR","result":{"code":4294967305}})", "1000", unknown);
    row(R"({"result":{"code":1002,"details":"d"}})", "1000",
        "[Warning] Unknown API exception: 1002 ''");
    row(R"({"result":{"code":77,"exception":"%1 ż"}})", "1000",
        "[Warning] Unknown API exception: 77 '%1 ż'");
    for (const char* const text : {"", "[]", "{\"a\":1}}", "\xff{}"})
        row(text, "1003");
    row("{\"result\":" + QByteArray(100000, '[') + QByteArray(100000, ']') + '}', "1003");
}

void TestRestClient::envelope()
{
    QFETCH(QByteArray, body);
    const auto result = readServiceEnvelope(body);
    QTEST(result ? QString(QJsonDocument(*result).toJson(QJsonDocument::Compact)) : errorOf(result),
          "expected");
    QTEST(m_state.takeLog().join('|'), "warning");
}

QTEST_GUILESS_MAIN(TestRestClient)
#include "tst_rest_client.moc"
