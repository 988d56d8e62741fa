#include "context/proxy_settings.h"
#include "core/process_state.h"

#include <QtTest>

using namespace korvex;

class TestProxySettings : public QObject
{
    Q_OBJECT

private slots:
    void configured();
    void lastsForOneSignIn();

private:
    test::ProcessState m_state;
};

void TestProxySettings::configured()
{
    for (const auto& [mode, host, port, user, password, missing] :
         {std::tuple(0, QString("p.local"), 3128, "", "", ""),
          {-1, "p.local", 65535, "me", "", ""},
          {1, "p.local", 1, "me", "pw", ""},
          {1, "", 1, "", "", "proxyHost"},
          {1, "p.local", 0, "", "", "proxyPort"},
          {1, "p.local", 68664, "", "", "proxyPort"}}) { // 65536 + 3128
        m_state.startAnew();
        mainKey().writeNumber("proxyMode", mode);
        mainKey().writeString("proxyHost", host);
        mainKey().writeNumber("proxyPort", port);
        mainKey().writeString("proxyUsername", user);
        mainKey().writeString("proxyPassword", password);
        const bool used = mode != 0 && *missing == 0;
        const QNetworkProxy proxy(QNetworkProxy::HttpProxy, host, quint16(port), user, password);
        QVERIFY(configuredProxy() == (used ? std::optional(proxy) : std::nullopt));
        const QStringList log = m_state.takeLog();
        QCOMPARE(log.value(0),
                 mode == 0 ? "" : QString("[Verbose 2] Proxy address: %1:%2").arg(host).arg(port));
        QCOMPARE(log.value(1).section('\'', 1, 1), QString(missing)); // named by the warning
    }
}

void TestProxySettings::lastsForOneSignIn()
{
    for (const bool system : {true, false}) {
        QNetworkProxyFactory::setUseSystemConfiguration(system);
        {
            const ApplicationProxy installed({QNetworkProxy::HttpProxy, "p.local", 3128});
            QCOMPARE(QNetworkProxy::applicationProxy().hostName(), QString("p.local"));
            QVERIFY(!QNetworkProxyFactory::usesSystemConfiguration());
        }
        QVERIFY(QNetworkProxy::applicationProxy().hostName().isEmpty());
        QCOMPARE(QNetworkProxyFactory::usesSystemConfiguration(), system);
    }
}

QTEST_GUILESS_MAIN(TestProxySettings)

#include "tst_proxy_settings.moc"
