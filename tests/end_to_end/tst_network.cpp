#include "end_to_end/sign_in_rig.h"
#include "public_services/public_services.h"

#include <QProcess>
#include <QTest>
#include <atomic>

using namespace korvex::public_services;
using namespace korvex::test;

namespace {

const QString kConsole = "{\"user\":\"root\",\"ip\":\"\"}";

/// The service under another name than loopback's own, which no proxy is asked for.
QString elsewhere(SignInRig& rig)
{
    return rig.service().baseUrl().replace("127.0.0.1", "service.example");
}

/// Debian's small HTTP proxy, which puts its name into what it passes on, for the rig's sign-ins.
std::unique_ptr<QProcess> startProxy(SignInRig& rig, const QString& password)
{
    const QString file = rig.root().path() + "/tinyproxy.conf";
    if (!writeFile(file, "Port 3128\nListen 127.0.0.1\nBasicAuth me secret-pw\n"))
        qFatal("the proxy cannot be configured");
    auto proxy = std::make_unique<QProcess>();
    proxy->setProcessChannelMode(QProcess::MergedChannels);
    proxy->start("tinyproxy", {"-d", "-c", file});
    while (proxy->waitForReadyRead(5000) && !proxy->readAll().contains("Accepting connections"))
        continue;
    rig.set("proxyMode", 1);
    rig.set("proxyHost", "127.0.0.1");
    rig.set("proxyPort", 3128);
    rig.set("proxyUsername", "me");
    rig.set("proxyPassword", password);
    return proxy;
}

} // namespace

/// What leaves the machine, in a network of the test's own where every host is this machine.
class TestNetwork : public QObject
{
    Q_OBJECT

private slots:
    void revocation();
    void proxy();
    void pageBehindProxy();
};

void TestNetwork::revocation()
{
    SignInRig rig;
    std::atomic<int> unchanged = 6; // requests until the machine is seen elsewhere
    PublicServices services([&](const QString&) {
        return QByteArray(unchanged-- > 0 ? "203.0.113.7\n" : "203.0.113.8\n");
    });
    // The page reports what the engine has kept, then has it keep something.
    rig.showScript(
        "fetch('/seen/' + document.cookie + '/' + localStorage.device).then(() => {"
        " document.cookie = 'device=1; max-age=86400'; localStorage.device = 'kept'; SUBMIT })");
    rig.set("RevokeRememberDevicePolicy", 2);
    // Each process ends right after its last verdict.
    QStringList log;
    for (const QStringList& inputs : {QStringList{kConsole}, {kConsole}, {kConsole, kConsole}})
        log += rig.run(inputs).log;
    const QStringList asked = services.takeRequests();
    QCOMPARE(asked, QStringList(QVector<QString>(12, asked.value(0)).toList()));
    unchanged = 1000;
    log += rig.run({R"({"user":"root","ip":"10.0.0.5"})"}).log;
    QVERIFY(services.takeRequests().isEmpty());

    QStringList seen;
    for (const auto& request : rig.service().requests())
        if (request.path.startsWith("/seen/"))
            seen << request.path.mid(6);
    QCOMPARE(seen.join(' '), QString("/undefined device=1/kept /kept device=1/kept device=1/kept"));
    QCOMPARE(log.filter("Tracked parameter changed: ").size(), 1);
}

void TestNetwork::proxy()
{
    for (const QString password : {"secret-pw", "wrong-pw"}) {
        SignInRig rig;
        const auto proxy = startProxy(rig, password);
        rig.set("korvexApiServer", elsewhere(rig));
        // The page's address is the service's own, so it goes on to its other name.
        rig.showScript("if (location.hostname != '127.0.0.1') SUBMIT;"
                       "else location.hostname = 'service.example'");
        const Outcome outcome = rig.signIn("root");
        const bool granted = password == "secret-pw";
        QCOMPARE(outcome.verdicts, QVector<int>{granted});
        QVERIFY(!outcome.output.contains("-pw"));
        QStringList paths;
        for (const auto& request : rig.service().requests())
            if (request.headers.value("via").contains("tinyproxy"))
                paths << request.route();
        for (const char* const path : {"/", "/api/transaction/init", "/signin", "/signin/code"})
            QCOMPARE(paths.contains(path), granted);
    }
}

void TestNetwork::pageBehindProxy()
{
    SignInRig rig;
    const auto proxy = startProxy(rig, "wrong-pw");
    rig.service().setResult("/api/transaction/init", {{"webURI", elsewhere(rig) + "/signin/x"}});
    QCOMPARE(rig.signIn("root").lastVerdict(), "denied: Application exception");
    proxy->terminate();
    QVERIFY(proxy->waitForFinished());
    QVERIFY(proxy->readAll().contains("GET http://service"));
}

int main(int argc, char** argv)
{
    if (!enterPrivateNetwork(argv))
        return 77; // skipped
    const QCoreApplication application(argc, argv);
    TestNetwork test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_network.moc"
