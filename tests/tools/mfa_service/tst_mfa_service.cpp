#include "mfa_service/sign_in.h"
#include "mfa_service/totp.h"

#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QTest>

using namespace korvex::mfa_service;

namespace {

const QString kInit = "/api/transaction/init";
const QByteArray kSecret = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"; // of RFC 6238, in base32
const QByteArray kInitBody =
    R"({"systemToken":"system","username":"alice",)"
    R"("params":{"appVer":"1.0","hostName":"host","hrpsk":"0123abc","rdpMode":false}})";

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

private:
    Answer post(const QString& path, const QByteArray& body, const QByteArray& signature)
    {
        return m_service.answer({.method = "POST",
                                 .path = path,
                                 .headers = {{"x-korvex-signature", signature}},
                                 .body = body},
                                {});
    }
    Answer post(const QString& path, const QByteArray& body)
    {
        return post(path, body, hmac(body));
    }
    QJsonObject redeem(const QByteArray& token)
    {
        return resultOf(post("/api/transaction/credentials",
                             "{\"systemToken\":\"system\",\"accessToken\":\"" + token + "\"}"));
    }

    SignIn m_service{
        {.systemToken = "system", .secretKey = "Jefe", .openEnrollment = false, .clock = [] {
             return 1111111109;
         }}};
};

void TestMfaService::totp()
{
    // RFC 6238, appendix B, cut to six digits; the secret as an app shows it.
    const QByteArray secret = decodeBase32("gezd gnbv gy3t qojq GEZDGNBVGY3TQOJQ").value();
    QCOMPARE(encodeBase32(secret + '\xff'), kSecret + "74"); // by Python's base64
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
    for (const QByteArray& signature : {hmac(kInitBody + ' '), hmac(kInitBody) + '0', QByteArray()})
        QCOMPARE(resultOf(post(kInit, kInitBody, signature))["code"], 9);
    for (const auto& [from, to, code] : {std::tuple("system\"", "x\"", 10),
                                         {"alice", "mallory", 21},
                                         {"false", "false,\"more\":1", 20},
                                         {"false", "\"\"", 20},
                                         {"0123abc", "012", 20}}) {
        const Answer refused = post(kInit, QByteArray(kInitBody).replace(from, to));
        QCOMPARE(resultOf(refused)["code"], code);
        QCOMPARE(refused.status, 400);
        QCOMPARE(refused.headers["X-Korvex-Signature"], hmac(refused.body));
    }
}

QTEST_GUILESS_MAIN(TestMfaService)
#include "tst_mfa_service.moc"
