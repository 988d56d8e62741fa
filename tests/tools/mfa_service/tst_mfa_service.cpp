#include "mfa_service/sign_in.h"
#include "mfa_service/totp.h"

#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QProcess>
#include <QTcpSocket>
#include <QTest>
#include <QUrl>

using namespace korvex::mfa_service;

namespace {

const QString kInit = "/api/transaction/init";
const QByteArray kSecret = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"; // of RFC 6238, in base32
const QByteArray kInitBody =
    R"({"systemToken":"system","username":"alice",)"
    R"("params":{"appVer":"1.0","hostName":"host","hrpsk":"0123abc","rdpMode":false}})";

const ServiceOptions kOptions{.systemToken = "system",
                              .secretKey = "Jefe",
                              .openEnrollment = false,
                              .clock = [] { return 1111111109; }};

/// Qt's own HMAC: other code than the service's.
QByteArray hmac(const QByteArray& body)
{
    return QMessageAuthenticationCode::hash(body, "Jefe", QCryptographicHash::Sha256).toHex();
}

QJsonObject resultOf(const Answer& answer)
{
    return QJsonDocument::fromJson(answer.body)["result"].toObject();
}

} // namespace

/// What the service must refuse, and what no client of ours shows to be right.
class TestMfaService : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_service.addUser("alice", decodeBase32(kSecret).value()); }

    void totp();
    void signIn();
    void refusals();
    void program();
    void refusedRecoveryCodes();

private:
    Answer post(const QString& path, const QByteArray& body, const QByteArray& signature = {})
    {
        const QByteArray header = signature.isNull() ? hmac(body) : signature;
        return m_service.answer({.method = "POST",
                                 .path = path,
                                 .headers = {{"x-korvex-signature", header}},
                                 .body = body},
                                {});
    }
    QJsonObject redeem(const QByteArray& token)
    {
        return resultOf(post("/api/transaction/credentials",
                             "{\"systemToken\":\"system\",\"accessToken\":\"" + token + "\"}"));
    }

    SignIn m_service{kOptions};
};

void TestMfaService::totp()
{
    // RFC 6238, appendix B, cut to six digits; the secret as an app shows it.
    const QByteArray secret = decodeBase32("gezd gnbv gy3t qojq GEZDGNBVGY3TQOJQ").value();
    QCOMPARE(encodeBase32(secret + '\xff'), kSecret + "74"); // by Python's base64
    QCOMPARE(totpCode(secret, 20000000000), "353130");
    for (const int steps : {-2, -1, 0, 1, 2})
        QCOMPARE(totpMatches(secret, 1111111109 + 30 * steps, "081804"), std::abs(steps) < 2);
    QVERIFY(!totpMatches(secret, 1111111109, "81804"));
}

void TestMfaService::signIn()
{
    const QByteArray held =
        QCryptographicHash::hash(kSecret, QCryptographicHash::Sha256).toHex().left(7);
    for (const QByteArray& fingerprint : {QByteArray("0123abc"), QByteArray(), held}) {
        const QJsonObject opened =
            resultOf(post(kInit, QByteArray(kInitBody).replace("0123abc", fingerprint)));
        const auto enterCode = [&] {
            return post(opened["webURI"].toString() + "/code", R"({"code":"081804"})");
        };
        // A transaction that is still waiting has no access token, not an empty one.
        QCOMPARE(redeem("")["code"], 22);
        const QByteArray token = enterCode().body.split('"').value(3);
        QVERIFY(token.size() >= 32);
        QCOMPARE(enterCode().status, 410); // one code, one token
        const QJsonObject granted = redeem(token);
        QCOMPARE(granted["username"], "alice");
        QCOMPARE(granted.contains("erpsk"), fingerprint != held);
        QCOMPARE(redeem(token)["code"], 22);
    }
}

void TestMfaService::refusals()
{
    for (const QByteArray& signature :
         {hmac(kInitBody + ' '), hmac(kInitBody) + '0', QByteArray("")})
        QCOMPARE(resultOf(post(kInit, kInitBody, signature))["code"], 9);
    const auto changed = [](const char* from, const char* to) {
        return QByteArray(kInitBody).replace(from, to);
    };
    for (const auto& [path, body, code] :
         {std::tuple(QString("/api/company/data"), QByteArray(R"({"systemToken":"system","x":1})"),
                     20),
          {kInit, changed("system\"", "x\""), 10},
          {kInit, changed("alice", "mallory"), 21},
          {kInit, changed("false", "false,\"more\":1"), 20},
          {kInit, changed("false", "\"\""), 20},
          {kInit, changed("0123abc", "012"), 20}}) {
        const Answer refused = post(path, body);
        QCOMPARE(resultOf(refused)["code"], code);
        QCOMPARE(refused.status, 400);
        QCOMPARE(refused.headers["X-Korvex-Signature"], hmac(refused.body));
    }
}

void TestMfaService::program()
{
    QProcess process;
    process.start(KORVEX_MFA_SERVICE,
                  {"--system-token", "system", "--secret-key", "Jefe", "--user",
                   "alice=GEZDGNBVGY3TQOJQ", "--misbehave", "/signin=envelope-error:84"});
    QVERIFY(process.waitForReadyRead());
    const QUrl address(process.readLine().split(' ').last().trimmed());
    for (const auto& [request, answer] :
         {std::pair("GET /signin/0123 HTTP/1.1\r\n\r\n", "\"code\":84"),
          {"POST " + kInit.toUtf8() +
               " HTTP/1.1\r\nContent-Length: " + QByteArray::number(kInitBody.size()) +
               "\r\nX-Korvex-Signature: " + hmac(kInitBody) + "\r\n\r\n" + kInitBody,
           "\"status\":\"OK\""}}) {
        QTcpSocket client;
        client.connectToHost(address.host(), quint16(address.port()));
        client.write(request);
        QByteArray received;
        while (!received.contains(answer) && client.waitForReadyRead())
            received += client.readAll();
        QVERIFY2(received.contains(answer), received);
    }
    process.terminate();
    QVERIFY(process.waitForFinished());
    QVERIFY(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0);
    const QString told = process.readAll();
    const QRegularExpression log(
        "^GET /signin 400\ncode for alice: \\d{6}\nPOST /api/.*init 200\n$");
    QVERIFY2(log.match(told).hasMatch(), qPrintable(told));
}

void TestMfaService::refusedRecoveryCodes()
{
    for (const QByteArray& stored : {QByteArray("123"), QByteArray(64, '\1')}) {
        QProcess process;
        process.start(KORVEX_MFA_SERVICE, {"--tell-recovery-code", stored.toBase64()});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 1);
        QCOMPARE(process.readAllStandardOutput(), "");
    }
}

QTEST_GUILESS_MAIN(TestMfaService)
#include "tst_mfa_service.moc"
