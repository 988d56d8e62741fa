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
using test::kInit;
using test::kSecretKey;
using test::RawServer;
using Kind = mfa_service::Behaviour::Kind;

namespace {

const QByteArray kInitBody =
    R"({"params":{"appVer":"x","hostName":"h","hrpsk":"","rdpMode":false},)"
    R"("systemToken":"system-token","username":"alice"})";
const QByteArray kAnswer = R"({"result":{"a":1},"status":"OK"})";
const QByteArray kBypass =
    R"({"result":{"code":45,"details":"exempt","exception":"UserBypassedException"}})";
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

} // namespace

class TestRestClient : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }
    void cleanup() { QVERIFY(!m_state.secretWasLogged()); }

    void signature();
    void signedRequest();
    void unsignedRequests();
    void answers_data();
    void answers();
    void timeOut();
    void probeNeedsNoBody();
    void noKey();
    void freshConnection();
    void nothingKeptBetweenRequests();
    void requestLog();
    void settings();
    void envelope();

private:
    test::ServiceState m_state{true};
};

void TestRestClient::signature()
{
    mainKey().writeString("SecretKey", "Jefe"); // RFC 4231, test case 2
    QCOMPARE(KorvexRestAPIClient().sign("what do ya want for nothing?"),
             "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    const QString key = QString::fromUtf8("zażółć"); // counts in its local 8-bit form
    mainKey().writeString("SecretKey", key);
    QCOMPARE(
        KorvexRestAPIClient().sign("x"),
        test::opensslDigest(
            {"-sha256", "-mac", "HMAC", "-macopt", "hexkey:" + key.toLocal8Bit().toHex()}, "x"));
}

void TestRestClient::signedRequest()
{
    const QByteArray patch = "{\"a\":\"\\u0000\\\"\\\\é\"}";
    KorvexRestAPIClient client;
    QVERIFY(client.post(kInit, QJsonDocument::fromJson(kInitBody)));
    QCOMPARE(errorOf(client.patch(kInit, QJsonDocument::fromJson(patch))), QString("1002")); // 404
    const auto requests = m_state.service().requests();
    QCOMPARE(requests.size(), std::size_t{2});
    QCOMPARE(requests[0].method + requests[0].body, "POST" + kInitBody);
    QCOMPARE(requests[1].method + requests[1].body, "PATCH" + patch);
    for (const auto& request : requests) {
        QCOMPARE(request.path, kInit);
        QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
        QCOMPARE(request.headers.value("accept"), QByteArray("application/json"));
        QCOMPARE(request.headers.value("x-korvex-signature"), client.sign(request.body));
    }
}

void TestRestClient::unsignedRequests()
{
    RawServer peer;
    peer.answer = RawServer::http("200 OK", QByteArray(kMaxAnswer, 'x'));
    const QString address = "http://" + peer.authority();
    QCOMPARE(KorvexRestAPIClient::get(address + "/logo?x=%2F").value().size(), kMaxAnswer);
    QCOMPARE(errorOf(KorvexRestAPIClient::get(address, kMaxAnswer - 1)), QString("1002"));
    mainKey().writeString("korvexApiServer", address);
    QVERIFY(KorvexRestAPIClient().probe());
    QVERIFY(peer.requests[0].startsWith("GET /logo?x=%2F HTTP/1.1\r\n"));
    QVERIFY(peer.requests[2].startsWith("GET / HTTP/1.1\r\n"));
    for (const QByteArray& request : qAsConst(peer.requests)) {
        QVERIFY(request.toLower().contains("\r\naccept-encoding: identity\r\n"));
        for (const char* const header : {"\r\nx-korvex-", "\r\naccept:", "\r\ncontent-"})
            QVERIFY2(!request.toLower().contains(header), request.constData());
    }
    m_state.takeLog();
    for (const char* const noWebAddress : {"file:///etc/hostname", "data:,x", "/logo.png"}) {
        QCOMPARE(errorOf(KorvexRestAPIClient::get(noWebAddress)), QString("1002"));
        QCOMPARE(m_state.takeLog(), QStringList("[Warning] Http request refused, no web address: " +
                                                QString(noWebAddress)));
    }
}

void TestRestClient::answers_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* status, const QByteArray& body, const QByteArray& headers,
                        const char* error) {
        QTest::newRow(status + body.left(40).toPercentEncoding() + headers.toPercentEncoding())
            << RawServer::http(status, body, headers) << error;
    };
    // Statuses, each with an answer that would be good.
    const QByteArray good = signatureOf(kAnswer);
    row("201 Created", kAnswer, good, "0");
    row("302 Found", kAnswer, good + "Location: /x\r\n", "0"); // not followed
    row("400 Bad Request", kAnswer, good, "0");
    row("400 Bad Request", "", signatureOf(""), "1002");
    row("401 Unauthorized", kAnswer, good, "1002");
    row("418 Teapot", kAnswer, good, "1002");
    row("500 Error", kAnswer, good, "1001");
    row("599 Odd", kAnswer, good, "1001");
    row("200 OK", kAnswer, "", "9");
    row("200 OK", kAnswer + '\n', good, "9");
    row("200 OK", kAnswer, "X-Korvex-Signature: " + good.mid(20).toUpper(), "9");
    row("200 OK", kBypass, "X-Korvex-Signature:\r\n", "45 exempt");
    row("200 OK", kBypass, "X-Korvex-Signature: 0\r\n", "9");
    const QByteArray tooLarge = kAnswer.leftJustified(kMaxAnswer + 1);
    row("200 OK", tooLarge, signatureOf(tooLarge), "1002");
    row("200 OK", kAnswer, good + "Content-Encoding: gzip\r\n", "1002");
    QTest::newRow("cut") << RawServer::http("200 OK", kAnswer + ' ', good).chopped(1) << "1002";
}

void TestRestClient::answers()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, error);
    RawServer peer;
    peer.answer = answer;
    mainKey().writeString("korvexApiServer", "http://" + peer.authority());
    QCOMPARE(postInit(), error);
    // A probe looks at the status alone.
    const bool refused = error.startsWith("100") && !answer.startsWith("HTTP/1.1 200");
    QCOMPARE(errorOf(KorvexRestAPIClient().probe()), refused ? error : "0");
}

void TestRestClient::timeOut()
{
    mainKey().writeNumber("RequestTimeout", 400);
    for (const Kind kind : {Kind::Hang, Kind::EndlessSlowBody}) {
        m_state.service().setBehaviour(kInit, {kind});
        QElapsedTimer time;
        time.start();
        QCOMPARE(postInit(), QString("1002"));
        QVERIFY2(time.elapsed() >= 350 && time.elapsed() < 4000,
                 QByteArray::number(time.elapsed()));
    }
}

/// The rest of a body does not matter, however long it takes.
void TestRestClient::probeNeedsNoBody()
{
    mainKey().writeNumber("RequestTimeout", 2000);
    m_state.service().setBehaviour("/", {Kind::EndlessSlowBody});
    QElapsedTimer time;
    time.start();
    KorvexRestAPIClient client;
    QVERIFY(client.probe() && time.elapsed() < 1000);
    QVERIFY(client.post(kInit, QJsonDocument::fromJson(kInitBody)));
}

void TestRestClient::noKey()
{
    for (const bool stored : {true, false}) {
        m_state.startAnew();
        if (stored)
            mainKey().writeString("SecretKey", "");
        else
            mainKey().writeNumber("SecretKey", 0); // reads as an absent one
        QCOMPARE(postInit(), QString("9"));
        QCOMPARE(m_state.takeLog(),
                 QStringList("[Error] Http request not sent, no secret key to sign it"));
        QVERIFY(m_state.paths().isEmpty());
    }
}

/// A peer that no longer answers on a connection that was good before.
void TestRestClient::freshConnection()
{
    QTcpServer peer;
    int connections = 0;
    connect(&peer, &QTcpServer::newConnection, &peer, [&] {
        QTcpSocket* const socket = peer.nextPendingConnection();
        ++connections;
        connect(socket, &QTcpSocket::readyRead, socket, [socket] {
            if (socket->readAll().endsWith("\r\n\r\n"))
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx");
        });
    });
    QVERIFY(peer.listen(QHostAddress::LocalHost));
    mainKey().writeString("korvexApiServer", QString("http://127.0.0.1:%1").arg(peer.serverPort()));
    KorvexRestAPIClient client;
    for (const bool fresh : {false, false, true}) {
        if (fresh)
            client.useFreshConnection();
        const int before = connections;
        QVERIFY(client.probe());
        QTest::qWait(20); // for the rest of the body
        QCOMPARE(connections, fresh || before == 0 ? before + 1 : before);
    }
}

void TestRestClient::nothingKeptBetweenRequests()
{
    RawServer peer;
    mainKey().writeString("korvexApiServer", "http://user:password@" + peer.authority());
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

/// Authentic answers and failed transfers are logged, and nothing else is.
void TestRestClient::requestLog()
{
    m_state.service().setResult(kInit, {{"a", QString::fromUtf8("ż")}});
    postInit();
    m_state.service().setBehaviour(kInit, {Kind::WrongSignature});
    postInit();
    QVERIFY(KorvexRestAPIClient().probe());
    m_state.service().setBehaviour(kInit, {Kind::Status404});
    postInit();
    const QRegularExpression log(
        "^\\[Debug Requests\\] \\[POST\\] Response: "
        "\\{\"result\":\\{\"a\":\"ż\"\\},\"status\":\"OK\"\\}"
        "\\|\\[Warning\\] Http request error '203' '.+', http code '404'$");
    const QString logged = m_state.takeLog().join('|');
    QVERIFY2(log.match(logged).hasMatch(), qPrintable(logged));
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

void TestRestClient::envelope()
{
    using Row = std::tuple<QByteArray, QString, QString>; // body, result or error, what is logged
    QVector<Row> rows{
        {R"({"status":"OK","result":{"code":10,"b":[]}})", R"({"b":[],"code":10})", ""},
        {R"({"status":"OK","result":{}})", "1000", "0 ''"},
        {R"({"status":"ok","result":{"a":1}})", "1000", "0 ''"},
        {R"({"result":{"code":9,"details":"ż\n\"","exception":"e"}})", "9 ż\n\"", ""},
        {R"({"result":{"code":4294967305}})", "1000", "0 ''"},
        {R"({"result":{"code":1002,"details":"d"}})", "1000", "1002 ''"},
        {R"({"result":{"code":77,"exception":"%1 ż"}})", "1000", "77 '%1 ż'"},
        {"[]", "1003", ""},
        {"\xff{}", "1003", ""}};
    for (const char* const code : {"10", "11", "45", "81", "82", "83", "84"})
        rows << Row(QByteArray(R"({"status":0,"result":{"code":)") + code + ".0}}", code, "");
    for (const auto& [body, expected, unknown] : qAsConst(rows)) {
        const auto result = readServiceEnvelope(body);
        QCOMPARE(result ? QString(QJsonDocument(*result).toJson(QJsonDocument::Compact))
                        : errorOf(result),
                 expected);
        QCOMPARE(m_state.takeLog().join('|').remove("[Warning] Unknown API exception: "), unknown);
    }
}

QTEST_GUILESS_MAIN(TestRestClient)
#include "tst_rest_client.moc"
