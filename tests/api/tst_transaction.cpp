#include "api/transaction.h"
#include "core/current_sign_in.h"
#include "core/openssl_program.h"
#include "core/sealed_envelope.h"
#include "otp/offline_secret.h"
#include "rest/service_state.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSysInfo>
#include <QtTest>

using namespace korvex;
using mfa_service::Behaviour;
using test::kCredentials;
using test::kInit;
using test::runInEventLoop;

namespace {

/// Resolves names on a machine PC1 without a directory, where no program answers.
IdentityResolver resolver()
{
    return IdentityResolver(
        {[] { return QString(); }, [] { return QString("PC1"); }},
        [](const QString&, const QString&, QString&, QString&) { return false; });
}

} // namespace

class TestTransaction : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_state.startAnew();
        m_boxes.texts.clear();
        beginSignIn({.user = test::knownAccount()});
    }
    void cleanup() { QVERIFY(!m_state.secretWasLogged()); }

    void initRequest_data();
    void initRequest();
    void noName();
    void webAddress_data();
    void webAddress();
    void anotherUser();
    void offlineSecret();
    void tokenOutOfTurn();
    void verdictMeanwhile_data();
    void verdictMeanwhile();
    void unknownPostType();

private:
    QByteArray bodyOf(const QString& path)
    {
        for (const auto& request : m_state.service().requests())
            if (request.path == path)
                return request.body;
        return "not received";
    }

    /// Opens a transaction and types the code on its page; the token that the page hands over.
    QString tokenOf(Transaction& transaction, const QString& user)
    {
        QSignalSpy pages(&transaction, &Transaction::showWebPage);
        transaction.start();
        QNetworkRequest request(QUrl(pages.value(0).value(0).toUrl().toString() + "/code"));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        const QJsonObject body{{"code", m_state.service().currentCode(user)}};
        QNetworkAccessManager manager;
        QNetworkReply* const reply = manager.post(request, QJsonDocument(body).toJson());
        QSignalSpy(reply, &QNetworkReply::finished).wait();
        return QJsonDocument::fromJson(reply->readAll()).object().value("accessToken").toString();
    }

    test::ServiceState m_state;
    test::BoxWatcher m_boxes;
};

void TestTransaction::initRequest_data()
{
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("name"); // as sent
    QTest::addColumn<QString>("warning");
    // A row's name is the user.
    QTest::newRow("CORP\\alice") << "" << "CORP\\alice" << "";
    QTest::newRow(".\\jdoe") << "10.0.0.5" << "jdoe" << "";
    QTest::newRow("jdoe") << "fe80::1%eth0" << "PC1\\jdoe" << "";
    QTest::newRow("%1\\%2") << "%3" << "%1\\%2"
                            << "[Warning] Incorrect ip (IPv4/IPv6) address format: %3";
}

void TestTransaction::initRequest()
{
    QFETCH(QString, ip);
    QFETCH(QString, name);
    Transaction transaction({.user = QTest::currentDataTag(), .ip = ip}, resolver());
    QSignalSpy pages(&transaction, &Transaction::showWebPage);
    QVERIFY(m_state.paths().isEmpty());
    transaction.start();
    QCOMPARE(m_state.paths(), QStringList({"/", kInit}));
    QCOMPARE(pages.size(), 1);
    QVERIFY(!verdictGiven());

    const QString body = "{\"params\":{\"appVer\":\"5.5.0-67381a3\",\"hostName\":\"" +
                         QSysInfo::machineHostName() + "\",\"hrpsk\":\"\",\"rdpMode\":" +
                         (ip.isEmpty() ? "false" : "true,\"userIP\":\"" + ip + '"') +
                         "},\"systemToken\":\"system-token\",\"username\":\"" +
                         QString(name).replace("\\", "\\\\") + "\"}";
    QCOMPARE(bodyOf(kInit), body.toUtf8());

    const QStringList log = m_state.takeLog();
    QCOMPARE(log.filter("Init step"),
             QStringList("Init step: URL: " + m_state.service().baseUrl() +
                         ", systemToken: system-token, username: " + name));
    QTEST(log.filter("[Warning]").join('|'), "warning");
    QCOMPARE(log.filter("[Debug Requests]"), QStringList());
}

void TestTransaction::noName()
{
    mainKey().writeNumber("sendUPN", 1);
    for (const QString failMode : {"bypass", "deny"}) {
        mainKey().writeString("FailMode", failMode);
        clearVerdict();
        m_state.takeLog();
        Transaction transaction({.user = "jdoe"}, resolver());
        const bool granted = failMode == "bypass";
        QCOMPARE(runInEventLoop([&] { transaction.start(); }), int(granted));
        QCOMPARE(m_state.takeLog().last(),
                 granted ? QString("User access granted, reason: Could not retrieve correct UPN! "
                                   "FailMode bypass.")
                         : QString("User access denied, reason: Could not retrieve correct UPN!"));
    }
    QVERIFY(!m_state.paths().contains(kInit));
}

void TestTransaction::webAddress_data()
{
    QTest::addColumn<QJsonValue>("address");
    QTest::addColumn<QString>("line");
    for (const char* const good : {"https://mfa.example/x?a=b%20c#d", "HTTP://[::1]:8080"})
        QTest::newRow(good) << QJsonValue(good)
                            << QString("[Verbose 2] Show web page, URL: ") + good;
    const QString missing = "[Error] Web URI not received";
    QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << missing;
    QTest::newRow("number") << QJsonValue(5) << missing;
    for (const char* const bad :
         {"file:///etc/passwd", "https:///path", "/signin/1", "http://[::1"})
        QTest::newRow(bad) << QJsonValue(bad)
                           << QString("[Error] Web URI is no web address: ") + bad;
}

void TestTransaction::webAddress()
{
    QFETCH(QJsonValue, address);
    QFETCH(QString, line);
    QJsonObject result{{"other", 1}};
    if (!address.isUndefined())
        result.insert("webURI", address);
    m_state.service().setResult(kInit, result);
    Transaction transaction({.user = "jdoe"}, resolver());
    QSignalSpy pages(&transaction, &Transaction::showWebPage);
    const bool good = !line.startsWith("[Error]");
    QCOMPARE(runInEventLoop([&] { transaction.start(); }), good ? test::kNoVerdict : 0);
    QCOMPARE(pages.size(), good ? 1 : 0);
    const QStringList log = m_state.takeLog();
    QVERIFY(log.contains(line));
    if (good) {
        QCOMPARE(pages[0][0].toUrl(), QUrl(address.toString()));
        QCOMPARE(runInEventLoop([] { deny("by a test"); }), 0);
    } else {
        QCOMPARE(log.last(),
                 QString("User access denied, reason: Korvex server unsupported failure response"));
    }
    // A token after the verdict is too late.
    transaction.credentials("t");
    QCOMPARE(m_state.paths(), QStringList({"/", kInit}));
}

/// The same letters, composed otherwise, are another name.
void TestTransaction::anotherUser()
{
    const QString user = QString::fromUtf8("CORP\\zoé");
    const QString other = QString::fromUtf8("CORP\\zoe\u0301");
    m_state.service().setResult(kCredentials,
                                {{"systemToken", "system-token"}, {"username", other}});
    Transaction transaction({.user = user}, resolver());
    QCOMPARE(runInEventLoop([&] { transaction.credentials(tokenOf(transaction, user)); }), 0);
    const QStringList log = m_state.takeLog();
    QCOMPARE(log.mid(log.size() - 2),
             QStringList(
                 {"[Warning] Invalid authentication data! User: " + other + ", Token: system-token",
                  "User access denied, reason: Authentication data does not match"}));
}

void TestTransaction::offlineSecret()
{
    const auto data = userRegistryData();
    QVERIFY(otp::storeOtpSecret(data.get(), "old"));
    for (const QString& key : {QString("another key"), test::kSecretKey}) {
        const QByteArray erpsk = seal("new", test::opensslDigest({"-md5"}, key.toUtf8()));
        m_state.service().setResult(kCredentials, {{"systemToken", "system-token"},
                                                   {"username", "PC1\\jdoe"},
                                                   {"erpsk", QString(erpsk)}});
        clearVerdict();
        Transaction transaction({.user = "jdoe"}, resolver());
        const auto work = [&] { transaction.credentials(tokenOf(transaction, "PC1\\jdoe")); };
        QCOMPARE(runInEventLoop(work), 1);
        const QJsonObject sent = QJsonDocument::fromJson(bodyOf(kInit)).object();
        QCOMPARE(sent["params"].toObject()["hrpsk"].toString(),
                 QString(test::opensslDigest({"-sha256"}, "old").left(7)));
        const bool kept = key == test::kSecretKey;
        QCOMPARE(otp::loadOtpSecret(data.get()), QByteArray(kept ? "new" : "old"));
        QCOMPARE(m_state.takeLog().filter("new secret"),
                 QStringList(QString("Received new secret, update status: %1").arg(kept)));
    }
}

void TestTransaction::tokenOutOfTurn()
{
    mainKey().writeNumber("RequestTimeout", 400);
    m_state.service().setBehaviour(kCredentials, {.kind = Behaviour::Kind::Hang});
    Transaction transaction({.user = "jdoe"}, resolver());
    const auto isIgnored = [&](const QString& token) {
        m_state.takeLog();
        transaction.credentials(token);
        return m_state.takeLog() ==
               QStringList("[Verbose 1] Transaction does not wait for a token, token ignored");
    };
    QVERIFY(isIgnored("before the start"));
    bool crossed = false;
    QTimer::singleShot(200, [&] { crossed = isIgnored("while another waits for its answer"); });
    QCOMPARE(runInEventLoop([&] {
                 transaction.start();
                 transaction.credentials(QString("\"\\\n") + QChar(0));
                 QVERIFY(crossed);
                 QVERIFY(isIgnored("after the verdict"));
             }),
             0);
    QCOMPARE(m_state.paths(), QStringList({"/", kInit, kCredentials}));
    QCOMPARE(bodyOf(kCredentials), QByteArray("{\"accessToken\":\"\\\"\\\\\\n\\u0000\","
                                              "\"systemToken\":\"system-token\"}"));
}

void TestTransaction::verdictMeanwhile_data()
{
    QTest::addColumn<QString>("path");
    for (const QString& path : {QString("/"), QString("/api/company/data"),
                                QString("/company/logo"), kInit, kCredentials})
        QTest::newRow(qPrintable(path)) << path;
}

/// Somebody else's verdict while the transaction waits for an answer ends everything at once.
void TestTransaction::verdictMeanwhile()
{
    QFETCH(QString, path);
    m_state.service().setBehaviour(path, {.kind = Behaviour::Kind::Hang});
    cacheKey().writeNumber("IsCompanyDataReaded", 0);
    Transaction transaction({.user = "jdoe"}, resolver());
    QTimer poll;
    connect(&poll, &QTimer::timeout, [&] {
        if (m_state.paths().contains(path) && !verdictGiven())
            deny("by a test");
    });
    poll.start(10);
    QElapsedTimer time;
    time.start();
    QCOMPARE(runInEventLoop([&] {
                 transaction.start();
                 transaction.credentials("t");
             }),
             0);
    QVERIFY(time.elapsed() < 5000);
    QCOMPARE(m_state.paths().last(), path);
    const QStringList log = m_state.takeLog();
    QCOMPARE(log.filter(QRegularExpression("User access|not followed|MessageBox|PostError")),
             QStringList("User access denied, reason: by a test"));
    QCOMPARE(m_boxes.texts, QStringList());
}

void TestTransaction::unknownPostType()
{
    Transaction transaction({.user = "jdoe"}, resolver());
    const auto unknown = static_cast<Transaction::PostType>(2);
    QCOMPARE(runInEventLoop([&] { QVERIFY(transaction.buildPostData(unknown).isEmpty()); }), 0);
    QCOMPARE(m_state.takeLog().last(), QString("User access denied, reason: Unsupported post "
                                               "type. Contact with Korvex team"));
}

QTEST_MAIN(TestTransaction)
#include "tst_transaction.moc"
