#include "end_to_end/sign_in_rig.h"
#include "support/posix/private_network.h"

#include <QFile>
#include <QProcess>
#include <QTest>
#include <atomic>

using namespace korvex::test;

namespace {

bool inPrivateNetwork = false;
const QString kConsole = QStringLiteral("{\"user\":\"root\",\"ip\":\"\"}");

const QByteArray kClosed = "BasicAuth me secret-pw\n";

/// The service under another name than loopback's own, which no proxy is asked for.
QString elsewhere(SignInRig& rig)
{
    return rig.service().baseUrl().replace(QLatin1String("127.0.0.1"),
                                           QLatin1String("service.example"));
}

/// Debian's small HTTP proxy, which puts its name into what it passes on.
class Proxy
{
public:
    /// Configures proxy and sign-in.
    Proxy(SignInRig& rig, const QByteArray& access, const QString& password)
    {
        QFile file(rig.root().path() + QStringLiteral("/tinyproxy.conf"));
        if (!file.open(QIODevice::WriteOnly) ||
            file.write("Port 3128\nListen 127.0.0.1\n" + access) < 0)
            qFatal("the proxy cannot be configured");
        file.close();
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral("tinyproxy"), {"-d", "-c", file.fileName()});
        while (!m_output.contains("Accepting connections") && m_process.waitForReadyRead(5000))
            m_output += m_process.readAll();
        rig.set(QStringLiteral("proxyMode"), 1);
        rig.set(QStringLiteral("proxyHost"), QStringLiteral("127.0.0.1"));
        rig.set(QStringLiteral("proxyPort"), 3128);
        rig.set(QStringLiteral("proxyUsername"), QStringLiteral("me"));
        rig.set(QStringLiteral("proxyPassword"), password);
    }
    ~Proxy()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }

    QByteArray output()
    {
        m_process.waitForReadyRead(0);
        return m_output += m_process.readAll();
    }

private:
    QProcess m_process;
    QByteArray m_output;
};

} // namespace

/// What leaves the machine, in a network of the test's own where every host is this machine.
class TestNetwork : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!inPrivateNetwork)
            QSKIP("no network of its own may be made here");
    }
    void revocation();
    void proxy_data();
    void proxy();
    void pageBehindProxy_data();
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
    rig.showScript(QStringLiteral(
        "fetch('/seen/' + document.cookie + '/' + localStorage.device).then(() => {"
        " document.cookie = 'device=1; max-age=86400'; localStorage.device = 'kept'; SUBMIT })"));
    rig.set(QStringLiteral("RevokeRememberDevicePolicy"), 2);
    QStringList log;
    // Each process ends right after its verdict; the third and fourth sign-in share one.
    const QString remote = QStringLiteral("{\"user\":\"root\",\"ip\":\"10.0.0.5\"}");
    for (const QStringList& inputs : {QStringList{kConsole}, {kConsole}, {kConsole, kConsole}})
        log += rig.run(inputs).log;
    const QStringList asked = services.takeRequests();
    QCOMPARE(asked.size(), 12);
    QCOMPARE(asked.count(asked.first()), 12);
    unchanged = 1000;
    log += rig.run({remote}).log;
    QVERIFY(services.takeRequests().isEmpty());

    QStringList seen;
    for (const auto& request : rig.service().requests())
        if (request.path.startsWith(QLatin1String("/seen/")))
            seen << request.path.mid(6);
    QCOMPARE(seen, QStringList(
                       {"/undefined", "device=1/kept", "/kept", "device=1/kept", "device=1/kept"}));
    QCOMPARE(log.filter(QStringLiteral("Tracked")),
             QStringList{"Tracked parameter changed: '203.0.113.7' -> '203.0.113.8', clearing "
                         "remember device"});
    QCOMPARE(log.filter(QStringLiteral("User access granted")).size(), 5);
}

void TestNetwork::proxy_data()
{
    QTest::addColumn<QByteArray>("access");
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("granted");
    QTest::newRow("open") << QByteArray() << "" << true;
    QTest::newRow("right password") << kClosed << "secret-pw" << true;
    QTest::newRow("wrong password") << kClosed << "wrong-pw" << false;
}

void TestNetwork::proxy()
{
    QFETCH(QByteArray, access);
    QFETCH(QString, password);
    QFETCH(bool, granted);
    SignInRig rig;
    Proxy proxy(rig, access, password);
    rig.set(QStringLiteral("korvexApiServer"), elsewhere(rig));
    // The page's address is the service's own, so it goes on to its other name.
    rig.showScript(QStringLiteral("if (location.hostname == '127.0.0.1') location.hostname = "
                                  "'service.example'; else SUBMIT"));
    const Outcome outcome = rig.run({kConsole});
    QCOMPARE(outcome.verdicts, QVector<int>{granted});
    QVERIFY(!outcome.output.contains("-pw"));
    // Loopback under its own name is never asked for by proxy.
    QStringList paths;
    for (const auto& request : rig.service().requests()) {
        QCOMPARE(request.headers.value("via").contains("tinyproxy"),
                 request.headers.value("host").startsWith("service.example:"));
        if (request.headers.contains("via"))
            paths << request.route();
    }
    for (const char* const path : {"/", "/api/transaction/init", "/signin", "/signin/code"})
        QCOMPARE(paths.contains(QLatin1String(path)), granted);
}

void TestNetwork::pageBehindProxy_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<QByteArray>("seen");
    QTest::newRow("wrong password") << "wrong-pw" << "http:" << QByteArray("GET http://service");
    // It gets as far as a certificate that is missing.
    QTest::newRow("tunnel") << "secret-pw" << "https:" << QByteArray("CONNECT service.example:");
}

void TestNetwork::pageBehindProxy()
{
    QFETCH(QString, password);
    QFETCH(QString, scheme);
    QFETCH(QByteArray, seen);
    SignInRig rig;
    Proxy proxy(rig, kClosed, password);
    rig.service().setResult(QStringLiteral("/api/transaction/init"),
                            {{"webURI", elsewhere(rig).replace("http:", scheme) + "/signin/x"}});
    const Outcome outcome = rig.run({kConsole});
    QCOMPARE(outcome.lastVerdict(), QStringLiteral("denied: Application exception"));
    QVERIFY(proxy.output().contains(seen));
    for (const auto& request : rig.service().requests())
        QVERIFY(!request.path.startsWith(QLatin1String("/signin")));
}

int main(int argc, char** argv)
{
    inPrivateNetwork = enterPrivateNetwork(argv);
    const QCoreApplication application(argc, argv);
    TestNetwork test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_network.moc"
