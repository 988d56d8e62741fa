#include "context/remember_device.h"
#include "core/process_state.h"
#include "core/user_folder.h"
#include "platform/accounts.h"
#include "rest/raw_server.h"

#include <QDir>
#include <QtTest>

using namespace korvex;
using test::RawServer;

/// The public address and what follows from it, with services on loopback.
class TestRememberDevice : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_state.startAnew();
        m_server = std::make_unique<RawServer>();
        const QString base = "http://" + m_server->authority();
        m_services = {{base + "/a", base + "/b", base + "/c"}, base + "/asn/%1"};
        m_server->answers["/b"] = {page("203.0.113.7\r\n")};
    }

    void publicIp();
    void publicAsn();
    void revocation();

private:
    static QByteArray page(const QByteArray& body) { return RawServer::http("200 OK", body); }

    test::ProcessState m_state;
    std::unique_ptr<RawServer> m_server;
    AddressServices m_services;
};

void TestRememberDevice::publicIp()
{
    const QByteArray down = RawServer::http("503 Down", "203.0.113.1");
    const QByteArray good = page(" 203.0.113.1\n");
    // What the first service answers, in turn; the last answer stays.
    const QVector<std::tuple<QList<QByteArray>, QString, QString>> rows = {
        {{good}, "203.0.113.1", "/a /a /a"},
        {{down}, "203.0.113.7", "/a /b /b /b"},
        {{page("<html>203.0.113.1</html>")}, "203.0.113.7", "/a /a /b /b /b"},
        {{good, down}, "203.0.113.7", "/a /a /b /b /b"},
        {{page("10.0.0.5" + QByteArray(4096, ' '))}, "203.0.113.7", "/a /b /b /b"},
        {{page("?"), good}, "203.0.113.1", "/a /a /a"},
        {{good, good, down}, "", "/a /a /a"}};
    for (const auto& [answers, ip, paths] : rows) {
        m_server->answers["/a"] = answers;
        QCOMPARE(getPublicIp(m_services), ip);
        QCOMPARE(m_server->takePaths(), paths);
    }
}

void TestRememberDevice::publicAsn()
{
    m_services.echo = m_services.echo.mid(1, 1);
    const AddressServices noEcho{{}, m_services.information};
    const QByteArray right = R"({"connection":{"asn":64500}})";
    const QVector<std::pair<QByteArray, QString>> answers = {
        {right, "64500"},
        {R"({"connection":{"asn":"AS64500"}})", "0"},
        {"[64500]", ""},
        {right + QByteArray(64 * 1024, ' '), ""}};
    for (const auto& [body, asn] : answers) {
        m_server->answer = page(body);
        QCOMPARE(getPublicAsn(m_services), asn);
        QCOMPARE(getPublicAsn(noEcho), asn);
        QCOMPARE(m_server->takePaths(), QString("/b /b /b /asn/203.0.113.7 /asn/"));
    }
}

void TestRememberDevice::revocation()
{
    const QString user = test::knownAccount();
    const QString ip = "203.0.113.7";
    for (const auto& [account, policy, stored, storedAfter] :
         {std::tuple(user, 2, QString(), ip), // the first run
          {user, 2, ip, ip},
          {user, 1, "64500", "64501"},
          {user, 1, "?", "?"},         // an address service that knows nothing
          {user, 3, "64500", "64500"}, // no such policy
          {"", 2, "", ""}}) {
        init();
        beginSignIn({.user = account});
        const QString name = policy == 1 ? "LastTransactionPublicASN" : "LastTransactionPublicIP";
        const auto key = accountKey(platform::accountSid(user).value_or("none"));
        QVERIFY(stored.isEmpty() || key.writeString(name, stored));
        m_server->answer = page(stored == "?" ? "" : R"({"connection":{"asn":64501}})");
        // A folder in the first file's place cannot be removed like a file.
        const QDir storage(webStorageDirectory());
        QVERIFY(storage.mkpath("Cookies/kept"));
        for (const char* const file : {"Cookies-journal", "Visited Links"})
            QVERIFY(test::writeFile(storage.filePath(file), ""));

        DeviceRevocation(policy, m_services).finish();
        QCOMPARE(key.readString(name).value_or(""), storedAfter);
        QVERIFY(!dataKey().readString(name)); // where an empty SID would lead
        QVERIFY(storage.exists("Visited Links"));
        const bool cleared = !storage.exists("Cookies-journal");
        QCOMPARE(cleared, storedAfter == "64501");
        QCOMPARE(m_state.takeLog().filter("[Warning] Failed to remove 'Cookies': ").size(),
                 int(cleared));
        QCOMPARE(m_server->takePaths().isEmpty(), policy == 3);
        QVERIFY(QDir(userStorageDirectory()).removeRecursively());
    }
}

QTEST_GUILESS_MAIN(TestRememberDevice)

#include "tst_remember_device.moc"
