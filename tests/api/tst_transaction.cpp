#include "api/transaction.h"
#include "core/current_sign_in.h"
#include "otp/offline_secret.h"
#include "rest/service_state.h"

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
        beginSignIn({.user = test::knownAccount()});
    }
    void cleanup() { QVERIFY(!m_state.secretWasLogged()); }

    void initRequest();
    void noName();
    void webAddress();
    void newSecret();
    void tokenOutOfTurn();
    void verdictMeanwhile();

private:
    test::ServiceState m_state;
    test::BoxWatcher m_boxes;
};

void TestTransaction::initRequest()
{
    const QString warning = "[Warning] Incorrect ip (IPv4/IPv6) address format: ";
    for (const auto& [user, ip, name, log] :
         {std::tuple(QString("jdoe"), QString(), QString("PC1\\jdoe"), QString()),
          {".\\jdoe", "fe80::1%eth0", "jdoe", ""},
          {"%1\\%2", "%3", "%1\\%2", warning + "%3"}}) {
        init();
        Transaction transaction({.user = user, .ip = ip}, resolver());
        transaction.start();
        const QString body = "{\"params\":{\"appVer\":\"5.5.0-67381a3\",\"hostName\":\"" +
                             QSysInfo::machineHostName() + "\",\"hrpsk\":\"\",\"rdpMode\":" +
                             (ip.isEmpty() ? "false" : "true,\"userIP\":\"" + ip + '"') +
                             "},\"systemToken\":\"system-token\",\"username\":\"" +
                             QString(name).replace("\\", "\\\\") + "\"}";
        QCOMPARE(m_state.service().requests()[1].body, body.toUtf8());
        QCOMPARE(m_state.takeLog().filter("[Warning]").join('|'), log);
    }
}

void TestTransaction::noName()
{
    mainKey().writeNumber("sendUPN", 1);
    for (const QString failMode : {"bypass", "deny"}) {
        mainKey().writeString("FailMode", failMode);
        clearVerdict();
        Transaction transaction({.user = "jdoe"}, resolver());
        QCOMPARE(runInEventLoop([&] { transaction.start(); }), int(failMode == "bypass"));
        QVERIFY(m_state.takeLog().last().contains("reason: Could not retrieve correct UPN!"));
    }
    QVERIFY(!m_state.paths().contains(kInit));
}

void TestTransaction::webAddress()
{
    const QString shown = "[Verbose 2] Show web page, URL: ";
    const QString refused = "[Error] Web URI is no web address: ";
    for (const auto& [address, line] :
         {std::pair(QString("https://mfa.example/x?a=b%20c#d"), shown),
          {"HTTP://[::1]:8080", shown},
          {"", "[Error] Web URI not received"},
          {"file://server/share", refused},
          {"https:///path", refused}}) {
        init();
        m_state.service().setResult(kInit, {{address.isEmpty() ? "other" : "webURI", address}});
        Transaction transaction({.user = "jdoe"}, resolver());
        QSignalSpy pages(&transaction, &Transaction::showWebPage);
        const bool good = line == shown;
        QCOMPARE(runInEventLoop([&] { transaction.start(); }), good ? test::kNoVerdict : 0);
        QCOMPARE(pages.value(0).value(0).toUrl(), good ? QUrl(address) : QUrl());
        QVERIFY(m_state.takeLog().contains(line + address));
        // A token after the verdict is too late.
        if (good)
            QCOMPARE(runInEventLoop([] { deny("by a test"); }), 0);
        transaction.credentials("t");
        QCOMPARE(m_state.paths(), QStringList({"/", kInit}));
    }
}

void TestTransaction::newSecret()
{
    const QString name = QString::fromUtf8("PC1\\zoé");
    m_state.service().addUser(name, "12345678901234567890");
    // The service does not send again what the device says it has. What cannot be opened is no
    // reason to refuse the user.
    for (const QString update : {"1", "", "0"}) {
        if (update == "0")
            m_state.service().setResult(
                kCredentials,
                {{"systemToken", "system-token"}, {"username", name}, {"erpsk", "not sealed"}});
        clearVerdict();
        Transaction transaction({.user = name}, resolver());
        QSignalSpy pages(&transaction, &Transaction::showWebPage);
        transaction.start();
        QVERIFY(!verdictGiven());
        const QJsonObject code{{"code", m_state.service().currentCode(name)}};
        QNetworkRequest request(QUrl(pages.value(0).value(0).toString() + "/code"));
        request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
        QNetworkAccessManager manager;
        QNetworkReply* const reply = manager.post(request, QJsonDocument(code).toJson());
        QSignalSpy(reply, &QNetworkReply::finished).wait();
        const QString token = QJsonDocument::fromJson(reply->readAll())["accessToken"].toString();
        QCOMPARE(runInEventLoop([&] { transaction.credentials(token); }), 1);
        const QStringList updates = m_state.takeLog().filter("Received new secret, update status");
        QCOMPARE(updates.join('|').section(' ', -1), update);
        QCOMPARE(otp::loadOtpSecret(userRegistryData().get()),
                 QByteArray("GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"));
    }
}

void TestTransaction::tokenOutOfTurn()
{
    mainKey().writeNumber("RequestTimeout", 400);
    m_state.service().setBehaviour(kCredentials, {.kind = Behaviour::Kind::Hang});
    Transaction transaction({.user = "jdoe"}, resolver());
    const auto isIgnored = [&] {
        m_state.takeLog();
        transaction.credentials("out of turn");
        return m_state.takeLog() ==
               QStringList("[Verbose 1] Transaction does not wait for a token, token ignored");
    };
    QVERIFY(isIgnored());
    bool crossed = false;
    QTimer::singleShot(200, [&] { crossed = isIgnored(); });
    const int verdict = runInEventLoop([&] {
        transaction.start();
        transaction.credentials("t");
    });
    QCOMPARE(verdict, 0);
    QVERIFY(crossed);
}

/// Somebody else's verdict while the transaction waits for an answer ends everything at once.
void TestTransaction::verdictMeanwhile()
{
    for (const QString& path : {QString("/"), QString("/api/company/data"),
                                QString("/company/logo"), kInit, kCredentials}) {
        init();
        m_state.service().setBehaviour(path, {.kind = Behaviour::Kind::Hang});
        cacheKey().writeNumber("IsCompanyDataReaded", 0);
        Transaction transaction({.user = "jdoe"}, resolver());
        QTimer poll;
        connect(&poll, &QTimer::timeout, [&] {
            if (m_state.paths().contains(path) && !verdictGiven())
                deny("by a test");
        });
        poll.start(10);
        const int verdict = runInEventLoop([&] {
            transaction.start();
            transaction.credentials("t");
        });
        QCOMPARE(verdict, 0);
        QCOMPARE(m_state.paths().last(), path);
        const QRegularExpression reaction("User access|not followed|MessageBox|PostError");
        QCOMPARE(m_state.takeLog().filter(reaction),
                 QStringList("User access denied, reason: by a test"));
    }
}

QTEST_MAIN(TestTransaction)
#include "tst_transaction.moc"
