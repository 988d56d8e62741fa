#include "core/openssl_program.h"
#include "mfa_service/mfa_service.h"
#include "mfa_service/totp.h"

#include <QJsonDocument>
#include <QMessageAuthenticationCode>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTest>

using namespace korvex::mfa_service;

namespace {

const QString kInit = "/api/transaction/init";
const QString kCredentials = "/api/transaction/credentials";
const QByteArray kSecret = "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"; // of RFC 6238, in base32
const QByteArray kInitBody =
    R"({"systemToken":"system","username":"alice",)"
    R"("params":{"appVer":"1.0","hostName":"host","hrpsk":"0123abc","rdpMode":false}})";
constexpr int kTimeout = 10'000;

/// Qt's own HMAC: other code than the service's.
QByteArray hmac(const QByteArray& body)
{
    return QMessageAuthenticationCode::hash(body, "Jefe", QCryptographicHash::Sha256).toHex();
}

QByteArray credentialsBody(const QString& accessToken)
{
    return R"({"systemToken":"system","accessToken":")" + accessToken.toUtf8() + "\"}";
}

struct Reply
{
    int status = 0;
    QJsonObject json{};
    bool isSigned = false;

    QJsonObject result() const { return json["result"].toObject(); }
};

} // namespace

/// What the service must refuse, and what no client of ours shows to be right.
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

    void totp();
    void signIn();
    void refusals_data();
    void refusals();
    void program();
    void recoveryCode();

private:
    Reply post(const QString& path, const QByteArray& body, const QByteArray& signature)
    {
        QNetworkRequest request(QUrl(m_baseUrl + path));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        request.setRawHeader("X-Korvex-Signature", signature);
        const std::unique_ptr<QNetworkReply> reply(m_manager.post(request, body));
        if (!QTest::qWaitFor([&reply] { return reply->isFinished(); }, 2 * kTimeout))
            return {};
        const QByteArray answer = reply->readAll();
        return {.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                .json = QJsonDocument::fromJson(answer).object(),
                .isSigned = reply->rawHeader("X-Korvex-Signature") == hmac(answer)};
    }
    Reply post(const QString& path, const QByteArray& body) { return post(path, body, hmac(body)); }

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
    m_service->addUser("alice", decodeBase32(kSecret).value());
    QVERIFY(m_service->start());
    m_baseUrl = m_service->baseUrl();
}

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
        const Reply opened = post(kInit, QByteArray(kInitBody).replace("0123abc", fingerprint));
        QVERIFY(opened.status == 200 && opened.isSigned);
        const QString page = QUrl(opened.result()["webURI"].toString()).path();
        // A transaction that is still waiting has no access token, not an empty one.
        QCOMPARE(post(kCredentials, credentialsBody("")).result()["code"], 22);

        const Reply entered = post(page + "/code", R"({"code":"081804"})");
        const QString accessToken = entered.json["accessToken"].toString();
        QVERIFY(entered.status == 200 && accessToken.size() >= 32);
        QCOMPARE(post(page + "/code", R"({"code":"081804"})").status, 410); // one code, one token

        const Reply granted = post(kCredentials, credentialsBody(accessToken));
        QVERIFY(granted.isSigned);
        QCOMPARE(granted.result()["username"], "alice");
        QCOMPARE(granted.result().contains("erpsk"), fingerprint != held);
        QCOMPARE(post(kCredentials, credentialsBody(accessToken)).result()["code"], 22);
        for (const QString& secret : {accessToken, page.section('/', -1), QString("081804")})
            QVERIFY(!m_log.join('\n').contains(secret));
    }
    QVERIFY(m_log.contains("POST " + kInit + " 200"));
}

void TestMfaService::refusals_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<int>("code");
    const auto row = [](const char* name, const QString& path, const QByteArray& body, int code) {
        QTest::newRow(name) << path << body << hmac(body) << code;
    };
    const auto changed = [](const char* from, const char* to) {
        return QByteArray(kInitBody).replace(from, to);
    };
    QTest::newRow("signature") << kInit << kInitBody << hmac(kInitBody + ' ') << 9;
    QTest::newRow("no signature") << kCredentials << credentialsBody("x") << QByteArray(" ") << 9;
    row("company data", "/api/company/data", R"({"systemToken":"system","more":1})", 20);
    row("system token", kInit, changed("system\"", "x\""), 10);
    row("access token", kCredentials, credentialsBody("x"), 22);
    row("user", kInit, changed("alice", "mallory"), 21);
    row("parameter too many", kInit, changed("false", "false,\"more\":1"), 20);
    row("type of a parameter", kInit, changed("false", "\"\""), 20);
    row("length of the fingerprint", kInit, changed("0123abc", "012"), 20);
}

void TestMfaService::refusals()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, signature);
    const Reply reply = post(path, body, signature);
    QVERIFY(reply.status == 400 && reply.isSigned);
    QTEST(reply.result()["code"].toInt(), "code");
}

void TestMfaService::program()
{
    QProcess process;
    process.start(KORVEX_MFA_SERVICE,
                  {"--system-token", "system", "--secret-key", "Jefe", "--user",
                   "alice=GEZDGNBVGY3TQOJQ", "--misbehave", kCredentials + "=envelope-error:84"});
    QByteArray output;
    QVERIFY(QTest::qWaitFor(
        [&] { return (output += process.readAllStandardOutput()).endsWith('\n'); }, kTimeout));
    m_baseUrl = QString(output).section(' ', -1).trimmed();
    QCOMPARE(post(kInit, kInitBody).status, 200);
    QCOMPARE(post(kCredentials, credentialsBody("x")).result()["code"], 84);
    process.terminate();
    QVERIFY(process.waitForFinished(kTimeout));
    QVERIFY(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0);
}

void TestMfaService::recoveryCode()
{
    const auto encrypted = [](const QByteArray& block) {
        return korvex::test::openssl({"pkeyutl", "-encrypt", "-pubin", "-inkey",
                                      KORVEX_RECOVERY_PUBLIC_KEY, "-pkeyopt",
                                      "rsa_padding_mode:none"},
                                     block.leftJustified(64, '\0', true))
            .toBase64();
    };
    const QByteArray cutSalt = R"({"code":"987654","_":")" + QByteArray(50, 'x') + "\"}";
    for (const auto& [stored, told] : {std::pair(encrypted(cutSalt), QByteArray("987654")),
                                       {encrypted(R"({"code":"12345","_":"salt"})"), ""},
                                       {"MTIz", ""}}) {
        QProcess process;
        process.start(KORVEX_MFA_SERVICE, {"--tell-recovery-code", stored});
        QVERIFY(process.waitForFinished(kTimeout));
        QCOMPARE(process.readAllStandardOutput().trimmed(), told);
        QCOMPARE(process.exitCode(), told.isEmpty() ? 1 : 0);
        QCOMPARE(process.readAllStandardError().isEmpty(), !told.isEmpty());
    }
}

QTEST_GUILESS_MAIN(TestMfaService)
#include "tst_mfa_service.moc"
