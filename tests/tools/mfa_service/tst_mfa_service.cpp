#include "mfa_service/mfa_service.h"
#include "mfa_service/totp.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSslConfiguration>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

using namespace korvex::mfa_service;
using Kind = Behaviour::Kind;

namespace {

const QString kInit = "/api/transaction/init";
const QString kCredentials = "/api/transaction/credentials";
const QByteArray kKey = "a shared key";
const QString kWrongCode = "00000x"; // at any time
constexpr int kTimeout = 10'000;

/// Qt's own HMAC: other code than the service's.
QByteArray hmac(const QByteArray& body, const QByteArray& key = kKey)
{
    return QMessageAuthenticationCode::hash(body, key, QCryptographicHash::Sha256).toHex();
}

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject initBody(const QString& user = "alice")
{
    return {{"systemToken", "system"},
            {"username", user},
            {"params", QJsonObject{{"appVer", "1.0"},
                                   {"hostName", "host"},
                                   {"hrpsk", "0123abc"},
                                   {"rdpMode", false}}}};
}

QJsonObject credentialsBody(const QString& accessToken)
{
    return {{"systemToken", "system"}, {"accessToken", accessToken}};
}

QJsonObject withParam(const QString& name, const QJsonValue& value, QJsonObject body = initBody())
{
    QJsonObject params = body["params"].toObject();
    params[name] = value;
    body["params"] = params;
    return body;
}

QJsonObject with(QJsonObject body, const QString& name, const QJsonValue& value)
{
    body[name] = value;
    return body;
}

struct Reply
{
    int status = 0;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QByteArray signature{};
    QByteArray policy{};
    QByteArray location{};
    QByteArray body{};

    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
    QJsonObject result() const { return json()["result"].toObject(); }
};

/// The client's side, as an outsider would write it.
class Peer
{
public:
    explicit Peer(const QString& baseUrl)
        : m_baseUrl(baseUrl)
    {
        m_manager.setTransferTimeout(kTimeout);
    }

    Reply get(const QNetworkRequest& request) { return finish(m_manager.get(request)); }
    Reply get(const QString& url) { return get(QNetworkRequest(QUrl(url))); }
    Reply post(const QString& path, const QByteArray& body, const QByteArray& signature)
    {
        return finish(start(path, body, signature));
    }
    Reply post(const QString& path, const QJsonObject& body)
    {
        return post(path, compact(body), hmac(compact(body)));
    }
    Reply enterCode(const QString& page, const QString& code)
    {
        return post(QUrl(page).path() + "/code", compact({{"code", code}}), {});
    }

    QNetworkReply* start(const QString& path, const QByteArray& body, const QByteArray& signature)
    {
        QNetworkRequest request(QUrl(m_baseUrl + path));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        if (!signature.isEmpty())
            request.setRawHeader("X-Korvex-Signature", signature);
        return m_manager.post(request, body);
    }

private:
    static Reply finish(QNetworkReply* reply)
    {
        if (!QTest::qWaitFor([reply] { return reply->isFinished(); }, 2 * kTimeout))
            reply->abort();
        reply->deleteLater();
        return {.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                .error = reply->error(),
                .signature = reply->rawHeader("X-Korvex-Signature"),
                .policy = reply->rawHeader("Content-Security-Policy"),
                .location = reply->rawHeader("Location"),
                .body = reply->readAll()};
    }

    const QString m_baseUrl;
    QNetworkAccessManager m_manager;
};

ServiceOptions options()
{
    return {.systemToken = "system", .secretKey = kKey, .companyName = "A & B"};
}

} // namespace

class TestMfaService : public QObject
{
    Q_OBJECT

private slots:
    void totp_data();
    void totp();
    void totpWindow();
    void base32_data();
    void base32();
    void publishedSignature();
    void signIn();
    void wrongCodes_data();
    void wrongCodes();
    void expiry();
    void refusals_data();
    void refusals();
    void misbehaviour_data();
    void misbehaviour();
    void misbehavesSoManyTimes();
    void scriptedContent();
    void stopsWhileAnswersHang();
    void https();
    void limits();
    void portInUse();
    void program();
    void programUsage_data();
    void programUsage();
};

// RFC 6238, appendix B, the rows for SHA-1, cut to six digits.
void TestMfaService::totp_data()
{
    QTest::addColumn<qint64>("time");
    QTest::addColumn<QString>("code");
    QTest::newRow("1970-01-01 00:00:59") << qint64{59} << "287082";
    QTest::newRow("2005-03-18 01:58:29") << qint64{1111111109} << "081804";
    QTest::newRow("2005-03-18 01:58:31") << qint64{1111111111} << "050471";
    QTest::newRow("2009-02-13 23:31:30") << qint64{1234567890} << "005924";
    QTest::newRow("2033-05-18 03:33:20") << qint64{2000000000} << "279037";
    QTest::newRow("2603-10-11 11:33:20") << qint64{20000000000} << "353130";
}

void TestMfaService::totp()
{
    QFETCH(qint64, time);
    QTEST(totpCode("12345678901234567890", time), "code");
}

void TestMfaService::totpWindow()
{
    const QByteArray secret = "12345678901234567890";
    QVERIFY(totpMatches(secret, 1111111109 + 30, "081804"));
    QVERIFY(totpMatches(secret, 1111111109 - 30, "081804"));
    QVERIFY(!totpMatches(secret, 1111111109 + 60, "081804"));
    QVERIFY(!totpMatches(secret, 1111111109 - 60, "081804"));
    QVERIFY(!totpMatches(secret, 1111111109, "81804"));
    QVERIFY(!totpMatches(secret, 1111111109, "0818040"));
}

// RFC 4648, section 10, and the forms in which people type a secret.
void TestMfaService::base32_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("one byte") << "MY======" << QByteArray("f");
    QTest::newRow("four bytes") << "MZXW6YQ=" << QByteArray("foob");
    QTest::newRow("five bytes") << "MZXW6YTB" << QByteArray("fooba");
    QTest::newRow("as typed") << "mzxw 6ytb oi" << QByteArray("foobar");
    QTest::newRow("not Base32") << "MZXW1" << QByteArray();
    QTest::newRow("empty") << "" << QByteArray();
}

void TestMfaService::base32()
{
    QFETCH(QString, text);
    QTEST(decodeBase32(text).value_or(QByteArray()), "bytes");
}

// RFC 4231, test case 2. The service must take the signature for right and complain of the body.
void TestMfaService::publishedSignature()
{
    ServiceOptions withPublishedKey = options();
    withPublishedKey.secretKey = "Jefe";
    MfaService service(withPublishedKey);
    QVERIFY(service.start());
    const QByteArray published = "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843";
    Peer peer(service.baseUrl());
    QCOMPARE(peer.post(kInit, "what do ya want for nothing?", published).result()["code"], 20);
    QCOMPARE(peer.post(kInit, "what do ya want for nothing!", published).result()["code"], 9);
}

void TestMfaService::signIn()
{
    QStringList log;
    std::mutex mutex;
    ServiceOptions logging = options();
    logging.log = [&](const QString& line) {
        const std::lock_guard lock(mutex);
        log << line;
    };
    MfaService service(logging);
    QVERIFY(service.start());
    Peer peer(service.baseUrl());

    QCOMPARE(peer.get(service.baseUrl()).status, 200);
    const Reply init = peer.post(kInit, initBody("<b>alice{{company}}"));
    QCOMPARE(init.status, 200);
    QCOMPARE(init.signature, hmac(init.body));
    QCOMPARE(init.json()["status"], "OK");
    const QString page = init.result()["webURI"].toString();
    QVERIFY2(page.startsWith(service.baseUrl() + "/"), qPrintable(page));
    QVERIFY(!page.contains("token", Qt::CaseInsensitive));

    // A transaction that is still waiting has no access token, not an empty one.
    QCOMPARE(peer.post(kCredentials, credentialsBody("")).result()["code"], 22);

    const Reply html = peer.get(page);
    QCOMPARE(html.status, 200);
    QVERIFY(html.policy.startsWith("default-src 'none'"));
    QCOMPARE(html.body.count("class=\"panel\""), 1);
    QVERIFY(html.body.contains("&lt;b&gt;alice{{company}}"));
    QVERIFY(html.body.contains("A &amp; B"));
    QVERIFY(!html.body.contains("<b>alice"));

    const Reply entered = peer.enterCode(page, service.currentCode("<b>alice{{company}}"));
    QCOMPARE(entered.status, 200);
    const QString accessToken = entered.json()["accessToken"].toString();
    QVERIFY(accessToken.size() >= 32);
    // One code, one access token: the page is of no more use.
    QCOMPARE(peer.enterCode(page, service.currentCode("<b>alice{{company}}")).status, 410);
    QCOMPARE(peer.get(page).status, 404);

    const Reply granted = peer.post(kCredentials, credentialsBody(accessToken));
    QCOMPARE(granted.status, 200);
    QCOMPARE(granted.signature, hmac(granted.body));
    QCOMPARE(granted.result(),
             (QJsonObject{{"systemToken", "system"}, {"username", "<b>alice{{company}}"}}));
    QCOMPARE(peer.post(kCredentials, credentialsBody(accessToken)).result()["code"], 22);

    QVERIFY(service.waitForRequest(kCredentials, std::chrono::milliseconds(0), 3));
    QVERIFY(!service.waitForRequest(kCredentials, std::chrono::milliseconds(0), 4));
    const Request recorded = service.requests().at(1);
    QCOMPARE(recorded.method, QByteArray("POST"));
    QCOMPARE(recorded.path, kInit);
    QCOMPARE(recorded.headers.value("content-type"), QByteArray("application/json"));
    QCOMPARE(recorded.body, compact(initBody("<b>alice{{company}}")));

    const std::lock_guard lock(mutex);
    QVERIFY(log.contains("POST " + kInit + " 200"));
    for (const QString& secret : {accessToken, QUrl(page).path().section('/', -1), QString(kKey),
                                  service.currentCode("<b>alice{{company}}")}) {
        QVERIFY(!log.join('\n').contains(secret));
    }
}

void TestMfaService::wrongCodes_data()
{
    QTest::addColumn<int>("wrong");
    QTest::addColumn<int>("status");
    QTest::newRow("the fifth code may be right") << 4 << 200;
    QTest::newRow("the sixth may not") << 5 << 410;
}

void TestMfaService::wrongCodes()
{
    QFETCH(int, wrong);
    MfaService service(options());
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    const QString page = peer.post(kInit, initBody()).result()["webURI"].toString();
    for (int attempt = 1; attempt <= wrong; ++attempt) {
        const Reply reply = peer.enterCode(page, kWrongCode);
        QCOMPARE(reply.status, 403);
        QCOMPARE(reply.json()["attemptsLeft"], 5 - attempt);
        QVERIFY(!reply.json()["error"].toString().isEmpty());
        QVERIFY(!reply.json().contains("accessToken"));
    }
    QTEST(peer.enterCode(page, service.currentCode("alice")).status, "status");
}

void TestMfaService::expiry()
{
    std::atomic<qint64> now = 1'700'000'000;
    ServiceOptions clocked = options();
    clocked.clock = [&now] { return now.load(); };
    MfaService service(clocked);
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    const auto openPage = [&peer] {
        return peer.post(kInit, initBody()).result()["webURI"].toString();
    };

    const QString late = openPage();
    const QString inTime = openPage();
    now += 299;
    const QString accessToken =
        peer.enterCode(inTime, service.currentCode("alice")).json()["accessToken"].toString();
    QVERIFY(!accessToken.isEmpty());
    now += 1;
    QCOMPARE(peer.enterCode(late, service.currentCode("alice")).status, 410);
    QCOMPARE(peer.post(kCredentials, credentialsBody(accessToken)).result()["code"], 22);
}

void TestMfaService::refusals_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QJsonObject>("body");
    QTest::addColumn<QByteArray>("signature"); // the right one when empty
    QTest::addColumn<int>("code");
    const QByteArray right;
    const QJsonObject params = initBody()["params"].toObject();

    QTest::newRow("signature of another body") << kInit << initBody() << hmac("{}") << 9;
    QTest::newRow("signature in upper case")
        << kInit << initBody() << hmac(compact(initBody())).toUpper() << 9;
    QTest::newRow("no signature") << kCredentials << credentialsBody("x") << QByteArray(" ") << 9;
    QTest::newRow("system token") << kInit << with(initBody(), "systemToken", "x") << right << 10;
    QTest::newRow("system token, second step")
        << kCredentials << with(credentialsBody("x"), "systemToken", "x") << right << 10;
    QTest::newRow("access token") << kCredentials << credentialsBody("x") << right << 22;
    QTest::newRow("user") << kInit << initBody("mallory") << right << 21;
    QTest::newRow("empty user") << kInit << initBody("") << right << 20;
    QTest::newRow("member too many") << kInit << with(initBody(), "more", 1) << right << 20;
    QTest::newRow("member missing") << kInit << QJsonObject{{"params", params}} << right << 20;
    QTest::newRow("member of the other step")
        << kCredentials << with(credentialsBody("x"), "username", "alice") << right << 20;
    QTest::newRow("parameter too many") << kInit << withParam("more", 1) << right << 20;
    QTest::newRow("parameter's type") << kInit << withParam("rdpMode", "false") << right << 20;
    QTest::newRow("remote without address") << kInit << withParam("rdpMode", true) << right << 20;
    QTest::newRow("address without remote") << kInit << withParam("userIP", "::1") << right << 20;
    QTest::newRow("address's type")
        << kInit << withParam("userIP", 5, withParam("rdpMode", true)) << right << 20;
    QTest::newRow("fingerprint's length") << kInit << withParam("hrpsk", "0123") << right << 20;
}

void TestMfaService::refusals()
{
    QFETCH(QString, path);
    QFETCH(QJsonObject, body);
    QFETCH(QByteArray, signature);
    ServiceOptions closed = options();
    closed.openEnrollment = false;
    MfaService service(closed);
    service.addUser("alice", "12345678901234567890");
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    const Reply reply =
        peer.post(path, compact(body), signature.isEmpty() ? hmac(compact(body)) : signature);
    QCOMPARE(reply.status, 400);
    QCOMPARE(reply.signature, hmac(reply.body));
    QVERIFY(reply.json()["status"] != "OK");
    QTEST(reply.result()["code"].toInt(), "code");
    QVERIFY(!reply.result()["details"].toString().isEmpty());
    QVERIFY(!reply.result()["exception"].toString().isEmpty());
}

void TestMfaService::misbehaviour_data()
{
    QTest::addColumn<QString>("behaviour");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("signature");  // what the header holds
    QTest::addColumn<QByteArray>("content"); // in the body
    constexpr int kNone = QNetworkReply::NoError;
    constexpr int kRefused = QNetworkReply::ProtocolInvalidOperationError;
    const QByteArray uri = "\"webURI\":\"http";

    QTest::newRow("normal") << "normal" << 200 << kNone << "right" << uri;
    QTest::newRow("signature") << "wrong-signature" << 200 << kNone << "wrong" << uri;
    QTest::newRow("no signature") << "missing-signature" << 200 << kNone << "absent" << uri;
    QTest::newRow("upper case") << "upper-case-signature" << 200 << kNone << "upper" << uri;
    QTest::newRow("user bypassed")
        << "user-bypassed" << 400 << kRefused << "absent" << QByteArray("UserBypassedException");
    QTest::newRow("envelope") << "envelope-error:81" << 400 << kRefused << "right"
                              << QByteArray("\"code\":81,");
    QTest::newRow("404") << "status-404" << 404 << int{QNetworkReply::ContentNotFoundError}
                         << "absent" << QByteArray("\n");
    QTest::newRow("500") << "status-500" << 500 << int{QNetworkReply::InternalServerError}
                         << "absent" << QByteArray("\n");
    QTest::newRow("empty result") << "empty-result" << 200 << kNone << "right"
                                  << QByteArray("{\"result\":{},\"status\":\"OK\"}");
    QTest::newRow("not JSON") << "not-json" << 200 << kNone << "right" << QByteArray("not JSON");
    QTest::newRow("array") << "json-array" << 200 << kNone << "right" << QByteArray("[1,2]");
    QTest::newRow("cut short") << "cut-short" << 200 << int{QNetworkReply::RemoteHostClosedError}
                               << "right" << uri;
    QTest::newRow("redirect") << "redirect" << 302 << kNone << "absent" << QByteArray("\n");
    QTest::newRow("huge") << "huge-body" << 200 << kNone << "right"
                          << uri; // and longer than 64 MiB
}

void TestMfaService::misbehaviour()
{
    QFETCH(QString, behaviour);
    const auto parsed = parseBehaviour(behaviour);
    QVERIFY(parsed);
    MfaService service(options());
    service.setBehaviour(kInit, *parsed);
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    const Reply reply = peer.post(kInit, initBody());

    QTEST(reply.status, "status");
    QTEST(int{reply.error}, "error");
    const QByteArray right = hmac(reply.body);
    QTEST(QString(reply.signature.isEmpty()            ? "absent"
                  : reply.signature == right           ? "right"
                  : reply.signature == right.toUpper() ? "upper"
                                                       : "wrong"),
          "signature");
    QFETCH(QByteArray, content);
    QVERIFY2(reply.body.contains(content), reply.body.left(1000).constData());
    QCOMPARE(reply.body.size() > 64 << 20, parsed->kind == Kind::HugeBody);
    QCOMPARE(reply.location, QByteArray(parsed->kind == Kind::Redirect ? "/elsewhere" : ""));
}

void TestMfaService::misbehavesSoManyTimes()
{
    MfaService service(options());
    service.setBehaviour("/signin", {.kind = Kind::Status500, .times = 2});
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    const QString page = peer.post(kInit, initBody()).result()["webURI"].toString();
    QCOMPARE(peer.get(page).status, 500);
    QCOMPARE(peer.get(page).status, 500);
    QCOMPARE(peer.get(page).status, 200);
}

void TestMfaService::scriptedContent()
{
    MfaService service(options());
    service.setPage("<p>another page");
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    const Reply page = peer.get(peer.post(kInit, initBody()).result()["webURI"].toString());
    QCOMPARE(page.body, QByteArray("<p>another page"));
    // The page of a test may carry its script inline.
    QCOMPARE(page.policy, QByteArray());

    service.setResult(kInit, {{"erpsk", "sealed"}});
    const Reply reply = peer.post(kInit, initBody());
    QCOMPARE(reply.signature, hmac(reply.body));
    QCOMPARE(reply.result(), (QJsonObject{{"erpsk", "sealed"}}));
}

void TestMfaService::stopsWhileAnswersHang()
{
    MfaService service(options());
    service.setBehaviour(kInit, {.kind = Kind::Hang});
    service.setBehaviour(kCredentials, {.kind = Kind::EndlessSlowBody});
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    const QByteArray body = compact(initBody());
    QNetworkReply* const hanging = peer.start(kInit, body, hmac(body));
    QNetworkReply* const slow = peer.start(kCredentials, "{}", hmac("{}"));
    QVERIFY(QTest::qWaitFor([slow] { return slow->bytesAvailable() >= 3; }, kTimeout));
    QVERIFY(service.waitForRequest(kInit, std::chrono::milliseconds(kTimeout)));
    QVERIFY(!hanging->isFinished());
    QVERIFY(!slow->isFinished());

    QElapsedTimer timer;
    timer.start();
    service.stop();
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(QTest::qWaitFor([&] { return hanging->isFinished() && slow->isFinished(); }, kTimeout));
    QCOMPARE(peer.get(service.baseUrl()).error, QNetworkReply::ConnectionRefusedError);
}

void TestMfaService::https()
{
    ServiceOptions secure = options();
    secure.https = true;
    MfaService service(secure);
    QVERIFY(service.start());
    QVERIFY(service.baseUrl().startsWith("https://127.0.0.1:"));
    QCOMPARE(Peer(service.baseUrl()).get(service.baseUrl()).error,
             QNetworkReply::SslHandshakeFailedError);

    const QList<QSslCertificate> certificates = QSslCertificate::fromData(service.certificatePem());
    QCOMPARE(certificates.size(), 1);
    // Named, not only in the subject: browsers look nowhere else.
    const auto names = certificates.constFirst().subjectAlternativeNames();
    QCOMPARE(names.values(QSsl::DnsEntry), QStringList("localhost"));
    QCOMPARE(names.values(QSsl::IpAddressEntry), QStringList("127.0.0.1"));

    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.setCaCertificates(certificates);
    QNetworkRequest request(QUrl(service.baseUrl()));
    request.setSslConfiguration(trusting);
    QCOMPARE(Peer(service.baseUrl()).get(request).status, 200);
}

void TestMfaService::limits()
{
    MfaService service(options());
    QVERIFY(service.start());
    Peer peer(service.baseUrl());
    QCOMPARE(peer.post(kInit, QByteArray(64 * 1024 + 1, ' '), {}).status, 413);
    QCOMPARE(peer.post(kInit, QByteArray(64 * 1024, ' '), {}).status, 400);
    QCOMPARE(peer.get(service.baseUrl() + kInit).status, 404);
    QCOMPARE(peer.get(service.baseUrl() + "/signin/0123/elsewhere").status, 404);

    QTcpSocket socket;
    socket.connectToHost("127.0.0.1", quint16(QUrl(service.baseUrl()).port()));
    socket.write("POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nx\r\n");
    QVERIFY(QTest::qWaitFor([&socket] { return socket.bytesAvailable() > 20; }, kTimeout));
    QVERIFY(socket.readAll().startsWith("HTTP/1.1 411 "));
}

void TestMfaService::portInUse()
{
    MfaService first(options());
    QVERIFY(first.start());
    ServiceOptions samePort = options();
    samePort.port = quint16(QUrl(first.baseUrl()).port());
    MfaService second(samePort);
    const auto started = second.start();
    QVERIFY(!started);
    QVERIFY(started.error().contains(QString::number(samePort.port)));
    // A restarted service gets its port back, although its connections were closed by itself.
    Peer peer(first.baseUrl());
    QCOMPARE(peer.get(first.baseUrl()).status, 200);
    first.stop();
    MfaService third(samePort);
    QVERIFY(third.start());
}

void TestMfaService::program()
{
    QProcess process;
    process.start(KORVEX_MFA_SERVICE, {"--system-token", "system", "--secret-key", kKey,
                                       "--misbehave", kCredentials + "=envelope-error:84", "--user",
                                       "alice=GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"});
    QByteArray output;
    const auto printed = [&](const QByteArray& text) {
        return QTest::qWaitFor(
            [&] { return (output += process.readAllStandardOutput()).contains(text); }, kTimeout);
    };
    QVERIFY(printed("listening on http://127.0.0.1:"));
    QVERIFY(printed("\n"));
    Peer peer(QString(output).section(' ', -1).trimmed());
    QCOMPARE(peer.post(kInit, initBody()).status, 200);
    QVERIFY(printed("code for alice: "));
    QCOMPARE(peer.post(kInit, initBody("bob")).result()["code"], 21);
    QCOMPARE(peer.post(kCredentials, credentialsBody("x")).result()["code"], 84);
    QVERIFY(!output.contains(kKey));

    process.terminate();
    QVERIFY(process.waitForFinished(kTimeout));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void TestMfaService::programUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    const QStringList keys{"--system-token", "s", "--secret-key", "k"};
    QTest::newRow("help") << QStringList{"--help"} << 0;
    QTest::newRow("version") << QStringList{"--version"} << 0;
    QTest::newRow("no keys") << QStringList{} << 2;
    QTest::newRow("unknown option") << keys + QStringList{"--unknown"} << 2;
    QTest::newRow("surplus argument") << keys + QStringList{"surplus"} << 2;
    QTest::newRow("port") << keys + QStringList{"--port", "65536"} << 2;
    QTest::newRow("user") << keys + QStringList{"--user", "alice=1"} << 2;
    QTest::newRow("misbehaviour") << keys + QStringList{"--misbehave", "/=unknown"} << 2;
    QTest::newRow("needless code") << keys + QStringList{"--misbehave", "/=hang:9"} << 2;
    QTest::newRow("certificate without HTTPS") << keys + QStringList{"--certificate-out", "x"} << 2;
    QTest::newRow("certificate's folder")
        << keys + QStringList{"--https", "--certificate-out", "/nowhere/certificate.pem"} << 1;
}

void TestMfaService::programUsage()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    process.start(KORVEX_MFA_SERVICE, arguments);
    QVERIFY(process.waitForFinished(kTimeout));
    QTEST(process.exitCode(), "exitCode");
    QCOMPARE(process.readAllStandardError().isEmpty(), process.exitCode() == 0);
}

QTEST_GUILESS_MAIN(TestMfaService)
#include "tst_mfa_service.moc"
