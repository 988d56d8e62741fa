#include "api/raw_server.h"
#include "context/remember_device.h"
#include "core/process_state.h"
#include "core/user_folder.h"
#include "platform/accounts.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QtTest>

using namespace korvex;
using test::RawServer;

namespace {

QByteArray page(const QByteArray& body)
{
    return RawServer::http("200 OK", body);
}

} // namespace

/// The public address and what follows from it, with services on loopback.
class TestRememberDevice : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void publicIp_data();
    void publicIp();
    void slowAndLargeAnswers();
    void publicAsn_data();
    void publicAsn();
    void revocation_data();
    void revocation();
    void failedRemoval();
    void unknownUser();

private:
    void signIn(const QString& user);

    test::ProcessState m_state;
    std::unique_ptr<RawServer> m_server;
    AddressServices m_services;
};

void TestRememberDevice::init()
{
    m_state.startAnew();
    m_server = std::make_unique<RawServer>();
    const QString base = "http://" + m_server->authority();
    m_services = {{base + "/a", base + "/b", base + "/c"}, base + "/asn/%1"};
    m_server->answers["/b"] = {page("203.0.113.7\r\n")};
    signIn(test::knownAccount());
}

void TestRememberDevice::signIn(const QString& user)
{
    beginSignIn(QJsonDocument(QJsonObject{{"user", user}}));
    QDir(webStorageDirectory()).removeRecursively();
    QVERIFY(QDir().mkpath(webStorageDirectory()));
    m_state.takeLog();
}

void TestRememberDevice::publicIp_data()
{
    using Answers = QList<QByteArray>;
    QTest::addColumn<Answers>("first");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("paths");
    const QByteArray down = RawServer::http("503 Down", "203.0.113.1");
    const QByteArray address = page(" 203.0.113.1\n");
    const auto row = [](const char* name, const Answers& first, const char* ip, const char* paths) {
        QTest::newRow(name) << first << ip << paths;
    };
    row("works", {address}, "203.0.113.1", "/a /a /a");
    row("down", {down}, "203.0.113.7", "/a /b /b /b");
    row("HTML", {page("<html>203.0.113.1</html>")}, "203.0.113.7", "/a /a /b /b /b");
    row("elsewhere", {RawServer::http("302 Found", "", "Location: /c\r\n")}, "203.0.113.7",
        "/a /a /b /b /b");
    row("down at the second", {address, down}, "203.0.113.7", "/a /a /b /b /b");
    row("first answer is not looked at", {page("?"), address}, "203.0.113.1", "/a /a /a");
    row("last answer is not either", {address, address, page(" ? ")}, "?", "/a /a /a");
    row("down at the last", {address, address, down}, "", "/a /a /a");
}

void TestRememberDevice::publicIp()
{
    QFETCH(QList<QByteArray>, first);
    m_server->answers["/a"] = first;
    QTEST(getPublicIp(m_services), "ip");
    QTEST(m_server->takePaths().join(' '), "paths");
    QVERIFY(!m_server->requests.value(0).contains("X-Korvex-Signature"));
}

void TestRememberDevice::slowAndLargeAnswers()
{
    mainKey().writeNumber("RequestTimeout", 300);
    m_server->answers["/a"] = {page("10.0.0.5" + QByteArray(4096, ' '))};
    QTcpServer silent; // takes connections and says nothing
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    m_services.echo.prepend(QString("http://127.0.0.1:%1/").arg(silent.serverPort()));
    QElapsedTimer time;
    time.start();
    QCOMPARE(getPublicIp(m_services), QString("203.0.113.7"));
    QVERIFY(time.elapsed() >= 300 && time.elapsed() < 10000);
    QCOMPARE(m_server->takePaths().join(' '), QString("/a /b /b /b"));
}

void TestRememberDevice::publicAsn_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("asn"); // null or not counts too
    const auto row = [](const QByteArray& body, const QString& asn) {
        QTest::newRow(body.left(40)) << page(body) << asn;
    };
    row(R"({"connection":{"asn":64500}})", "64500");
    row(R"({"connection":{"asn":"64500"}})", "64500");
    row(R"({"connection":{"asn":"AS64500"}})", "0");
    row(R"({"connection":5})", "0");
    row("{}", "0");
    row("[64500]", QString());
    row("{\"connection\":{\"asn\":64500}}" + QByteArray(64 * 1024, ' '), QString());
    QTest::newRow("down") << RawServer::http("500 Down", "{}") << QString();
}

void TestRememberDevice::publicAsn()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, asn);
    m_server->answer = answer;
    m_services.echo = m_services.echo.mid(1, 1);
    QCOMPARE(getPublicAsn(m_services), asn);
    QCOMPARE(getPublicAsn(m_services).isNull(), asn.isNull());
    QCOMPARE(m_server->takePaths().mid(4).join(' '), QString("/b /b /b /asn/203.0.113.7"));
    m_services.echo.clear();
    QCOMPARE(getPublicAsn(m_services), asn);
    QCOMPARE(m_server->takePaths(), QStringList{"/asn/"});
}

void TestRememberDevice::revocation_data()
{
    QTest::addColumn<int>("policy");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("storedAfter");
    QTest::addColumn<QString>("log");
    const QString ip = "203.0.113.7";
    const QString skipped =
        "[Verbose 1] [Warning] Cannot determine current parameter, skipping cleanup";
    QTest::newRow("address, first run") << 2 << "" << ip << "";
    QTest::newRow("address, unchanged") << 2 << ip << ip << "";
    QTest::newRow("network, changed") << 1 << "%2" << "64501"
                                      << "Tracked parameter changed: '%2' -> '64501', clearing "
                                         "remember device";
    QTest::newRow("network, unknown") << 1 << "64500" << "64500" << skipped;
    QTest::newRow("no such policy") << 3 << "64500" << "64500" << "";
}

void TestRememberDevice::revocation()
{
    QFETCH(int, policy);
    QFETCH(QString, stored);
    QFETCH(QString, log);
    const QString name = policy == 1 ? "LastTransactionPublicASN" : "LastTransactionPublicIP";
    const platform::RegistryKey key(dataKey().path() + '\\' +
                                    platform::accountSid(test::knownAccount()).value_or("none"));
    if (!stored.isEmpty())
        QVERIFY(key.writeString(name, stored));
    m_server->answer =
        log.contains("Cannot") ? QByteArray("no HTTP") : page(R"({"connection":{"asn":64501}})");
    const QStringList files{"Cookies", "Cookies-journal", "Visited Links"};
    const QDir storage(webStorageDirectory());
    for (const QString& file : files)
        QVERIFY(QFile(storage.filePath(file)).open(QIODevice::WriteOnly));

    revokeRememberedDevice(policy, m_services);
    QTEST(key.readString(name).value_or(""), "storedAfter");
    const bool changed = log.contains("changed");
    QCOMPARE(storage.entryList(QDir::Files), changed ? QStringList{"Visited Links"} : files);
    QCOMPARE(m_state.takeLog().filter(QRegularExpression("Tracked|parameter")).join('\n'), log);
    QCOMPARE(m_server->takePaths().isEmpty(), policy == 3);
}

void TestRememberDevice::failedRemoval()
{
    // A folder in a file's place cannot be removed like a file.
    const QDir storage(webStorageDirectory());
    QVERIFY(storage.mkpath("Cookies/kept"));
    QVERIFY(QFile(storage.filePath("Cookies-journal")).open(QIODevice::WriteOnly));
    QVERIFY(!clearRememberedDevice(storage.path()));
    QVERIFY(!storage.exists("Cookies-journal"));
    QCOMPARE(m_state.takeLog().filter("[Warning] Failed to remove 'Cookies': ").size(), 1);
}

void TestRememberDevice::unknownUser()
{
    signIn({});
    const QString cookies = QDir(webStorageDirectory()).filePath("Cookies");
    QVERIFY(QFile(cookies).open(QIODevice::WriteOnly));
    for (const char* const address : {"203.0.113.7", "203.0.113.8"}) {
        m_server->answers["/b"] = {page(address)};
        revokeRememberedDevice(2, m_services);
    }
    QVERIFY(QFile::exists(cookies));
    QVERIFY(dataKey().subKeys().isEmpty());
}

QTEST_GUILESS_MAIN(TestRememberDevice)

#include "tst_remember_device.moc"
