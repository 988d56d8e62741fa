#include "core/openssl_program.h"
#include "mfa_service/mfa_service.h"
#include "mfa_service/totp.h"

#include <QImage>
#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTest>

using namespace korvex::mfa_service;
using Kind = Behaviour::Kind;

namespace {

const QString kInit = "/api/transaction/init";
const QString kCredentials = "/api/transaction/credentials";
const QByteArray kSecret = "12345678901234567890"; // of RFC 6238
const QString kCompanyData = "/api/company/data";
const QString kTyped = "gezd gnbv gy3t qojq GEZDGNBVGY3TQOJQ";
constexpr int kTimeout = 10'000;

/// Qt's own HMAC: other code than the service's.
QByteArray hmac(const QByteArray& body)
{
    return QMessageAuthenticationCode::hash(body, "Jefe", QCryptographicHash::Sha256).toHex();
}

/// What a sealed text holds, opened by the openssl program once its MAC is right.
QByteArray openSealed(const QByteArray& sealed)
{
    const QJsonObject envelope = QJsonDocument::fromJson(QByteArray::fromBase64(sealed)).object();
    const QByteArray iv = envelope["iv"].toString().toLatin1();
    const QByteArray value = envelope["value"].toString().toLatin1();
    const QByteArray key = QCryptographicHash::hash("Jefe", QCryptographicHash::Md5).toHex();
    const auto mac = QMessageAuthenticationCode::hash(iv + value, key, QCryptographicHash::Sha256);
    if (envelope["mac"].toString().toLatin1() != mac.toHex() || envelope["tag"].toString() != "")
        return "wrong MAC";
    return korvex::test::openssl(
        {"enc", "-d", "-aes-256-cbc", "-K", key.toHex(), "-iv", QByteArray::fromBase64(iv).toHex()},
        QByteArray::fromBase64(value));
}

QByteArray initBody(const QByteArray& user = "alice", const QByteArray& params = {})
{
    return R"({"systemToken":"system","username":")" + user +
           R"(","params":{"appVer":"1.0","hostName":"host","hrpsk":"0123abc","rdpMode":false)" +
           params + "}}";
}

QByteArray credentialsBody(const QString& accessToken)
{
    return R"({"systemToken":"system","accessToken":")" + accessToken.toUtf8() + "\"}";
}

struct Reply
{
    int status = 0;
    QByteArray signature{};
    QByteArray body{};

    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
    QJsonObject result() const { return json()["result"].toObject(); }
};

} // namespace

class TestMfaService : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup()
    {
        m_manager.clearConnectionCache(); // or each stop would wait for what is open
        m_service.reset();
    }

    void totp_data();
    void totp();
    void signIn();
    void secretForOfflineUse();
    void companyData();
    void refusals_data();
    void refusals();
    void program();
    void recoveryCode_data();
    void recoveryCode();

private:
    QNetworkReply* start(const QString& path, const QByteArray& body, const QByteArray& signature)
    {
        QNetworkRequest request(QUrl(m_baseUrl + path));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        request.setRawHeader("X-Korvex-Signature", signature);
        return m_manager.post(request, body);
    }
    static Reply finish(QNetworkReply* reply)
    {
        if (!QTest::qWaitFor([reply] { return reply->isFinished(); }, 2 * kTimeout))
            reply->abort();
        reply->deleteLater();
        return {.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                .signature = reply->rawHeader("X-Korvex-Signature"),
                .body = reply->readAll()};
    }
    Reply post(const QString& path, const QByteArray& body)
    {
        return finish(start(path, body, hmac(body)));
    }
    Reply enterCode(const QString& page, const QString& code)
    {
        return post(QUrl(page).path() + "/code", "{\"code\":\"" + code.toUtf8() + "\"}");
    }

    QStringList m_log; // written while a request is answered, read between two
    std::optional<MfaService> m_service;
    QString m_baseUrl;
    QNetworkAccessManager m_manager;
};

void TestMfaService::init()
{
    m_log.clear();
    m_service.emplace(ServiceOptions{.systemToken = "system",
                                     .secretKey = "Jefe",
                                     .openEnrollment = false,
                                     .clock = [] { return 1111111109; },
                                     .log = [this](const QString& line) { m_log << line; }});
    m_service->addUser("alice", kSecret);
    QVERIFY(m_service->start());
    m_baseUrl = m_service->baseUrl();
}

// RFC 6238, appendix B, the rows for SHA-1, cut to six digits.
void TestMfaService::totp_data()
{
    QTest::addColumn<qint64>("time");
    QTest::addColumn<QString>("code");
    QTest::newRow("2005-03-18 01:58:29") << qint64{1111111109} << "081804";
    QTest::newRow("2603-10-11 11:33:20") << qint64{20000000000} << "353130";
}

void TestMfaService::totp()
{
    QFETCH(qint64, time);
    QFETCH(QString, code);
    QCOMPARE(totpCode(kSecret, time), code);
    QCOMPARE(totpCode(decodeBase32(kTyped).value_or(""), time), code);
    for (const int steps : {-2, -1, 0, 1, 2})
        QCOMPARE(totpMatches(kSecret, time + 30 * steps, code), std::abs(steps) < 2);
    QVERIFY(!totpMatches(kSecret, time, code.mid(1)));
}

void TestMfaService::signIn()
{
    const Reply opened = post(kInit, initBody());
    QCOMPARE(opened.status, 200);
    QCOMPARE(opened.signature, hmac(opened.body));
    const QString page = opened.result()["webURI"].toString();
    // A transaction that is still waiting has no access token, not an empty one.
    QCOMPARE(post(kCredentials, credentialsBody("")).result()["code"], 22);

    const Reply entered = enterCode(page, "081804");
    QCOMPARE(entered.status, 200);
    const QString accessToken = entered.json()["accessToken"].toString();
    QVERIFY(accessToken.size() >= 32);
    QCOMPARE(enterCode(page, "081804").status, 410); // one code, one access token

    const Reply granted = post(kCredentials, credentialsBody(accessToken));
    QCOMPARE(granted.signature, hmac(granted.body));
    QCOMPARE(granted.result()["systemToken"], "system");
    QCOMPARE(granted.result()["username"], "alice");
    QCOMPARE(post(kCredentials, credentialsBody(accessToken)).result()["code"], 22);

    QVERIFY(m_log.contains("POST " + kInit + " 200"));
    for (const QString& secret : {accessToken, page.section('/', -1), QString("081804")})
        QVERIFY(!m_log.join('\n').contains(secret));
}

void TestMfaService::secretForOfflineUse()
{
    const QByteArray text = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ";
    const QByteArray held =
        QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex().left(7);
    for (const QByteArray& fingerprint : {QByteArray("0123abc"), QByteArray(), held}) {
        const Reply started = post(kInit, initBody().replace("0123abc", fingerprint));
        const Reply entered = enterCode(started.result()["webURI"].toString(), "081804");
        const Reply granted =
            post(kCredentials, credentialsBody(entered.json()["accessToken"].toString()));
        QCOMPARE(granted.result().contains("erpsk"), fingerprint != held);
        if (fingerprint != held)
            QCOMPARE(openSealed(granted.result()["erpsk"].toString().toLatin1()), text);
    }
    QCOMPARE(encodeBase32("foobar"), QByteArray("MZXW6YTBOI")); // RFC 4648, without its padding
}

void TestMfaService::companyData()
{
    const QJsonObject result = post(kCompanyData, R"({"systemToken":"system"})").result();
    QCOMPARE(result["companyName"], "Example Company");
    const QUrl logo(result["companyLogo"].toString());
    QVERIFY(!QImage::fromData(finish(m_manager.get(QNetworkRequest(logo))).body).isNull());
    m_service->setBehaviour(logo.path(), {.kind = Kind::Status500});
    QCOMPARE(finish(m_manager.get(QNetworkRequest(logo))).status, 500);
}

void TestMfaService::refusals_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<int>("code");
    const auto row = [](const char* name, const QString& path, const QByteArray& body, int code,
                        const std::optional<QByteArray>& signature = {}) {
        QTest::newRow(name) << path << body << signature.value_or(hmac(body)) << code;
    };
    // RFC 4231, test case 2: the signature is right and the body is not.
    const QByteArray text = "what do ya want for nothing?";
    const QByteArray vector = "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843";
    row("published signature", kInit, text, 20, vector);
    row("signature of another body", kInit, text + ' ', 9, vector);
    row("no signature", kCredentials, credentialsBody("x"), 9, " ");
    row("company data", kCompanyData, R"({"systemToken":"system","more":1})", 20);
    row("system token", kInit, initBody().replace("system\"", "x\""), 10);
    row("access token", kCredentials, credentialsBody("x"), 22);
    row("user", kInit, initBody("mallory"), 21);
    row("parameter too many", kInit, initBody("alice", ",\"more\":1"), 20);
    row("length of the fingerprint", kInit, initBody().replace("0123abc", "012"), 20);
}

void TestMfaService::refusals()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, signature);
    const Reply reply = finish(start(path, body, signature));
    QCOMPARE(reply.status, 400);
    QCOMPARE(reply.signature, hmac(reply.body));
    QTEST(reply.result()["code"].toInt(), "code");
}

void TestMfaService::program()
{
    const QStringList keys{"--system-token", "system", "--secret-key", "Jefe"};
    QProcess process;
    process.start(KORVEX_MFA_SERVICE,
                  keys + QStringList{"--misbehave", kInit + "=envelope-error:84", "--user",
                                     "alice=GEZDGNBVGY3TQOJQ"});
    QByteArray output;
    QVERIFY(QTest::qWaitFor(
        [&] { return (output += process.readAllStandardOutput()).endsWith('\n'); }, kTimeout));
    m_baseUrl = QString(output).section(' ', -1).trimmed();
    QCOMPARE(post(kInit, initBody()).result()["code"], 84);
    process.terminate();
    QVERIFY(process.waitForFinished(kTimeout));
    QVERIFY(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0);
}

void TestMfaService::recoveryCode_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QByteArray>("told");
    const auto row = [](const char* name, const QByteArray& block, const QByteArray& told = {}) {
        QTest::newRow(name) << korvex::test::openssl({"pkeyutl", "-encrypt", "-pubin", "-inkey",
                                                      KORVEX_RECOVERY_PUBLIC_KEY, "-pkeyopt",
                                                      "rsa_padding_mode:none"},
                                                     block.leftJustified(64, '\0', true))
                                   .toBase64()
                            << told;
    };
    row("short salt", R"({"code":"123456","_":"salt"})", "123456\n");
    row("salt cut off", R"({"code":"987654","_":")" + QByteArray(50, 'x') + "\"}", "987654\n");
    row("another text", R"({"code":"12345","_":"salt"})");
    QTest::newRow("no Base64") << QByteArray("?") << QByteArray();
    QTest::newRow("short") << QByteArray("MTIz") << QByteArray();
    QTest::newRow("above the modulus") << QByteArray(64, '\xff').toBase64() << QByteArray();
}

void TestMfaService::recoveryCode()
{
    QFETCH(QByteArray, stored);
    QProcess process;
    process.start(KORVEX_MFA_SERVICE, {"--tell-recovery-code", stored});
    QVERIFY(process.waitForFinished(kTimeout));
    QTEST(process.readAllStandardOutput().replace("\r\n", "\n"), "told");
    QFETCH(QByteArray, told);
    QCOMPARE(process.exitCode(), told.isEmpty() ? 1 : 0);
    QCOMPARE(process.readAllStandardError().isEmpty(), process.exitCode() == 0);
}

QTEST_GUILESS_MAIN(TestMfaService)
#include "tst_mfa_service.moc"
