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
    const QString address = "[Verbose 2] Proxy address: p.local:";
    const QString noHost = "|[Warning] Invalid proxy configuration, 'proxyHost' not defined";
    const QString noPort = "|[Warning] Invalid proxy configuration, 'proxyPort' not defined";
    using Row = std::tuple<int, QString, int, QString, QString, QString>;
    for (const auto& [mode, host, port, login, expected, log] :
         {Row{0, "p.local", 3128, "", "", ""},
          Row{5, "p.local", 3128, "", ":@p.local:3128", address + "3128"},
          Row{-1, "p.local", 65535, "me", "me:@p.local:65535", address + "65535"},
          Row{1, "p.local", 1, "me:pw", "me:pw@p.local:1", address + "1"},
          Row{1, "", 1, "", "", "[Verbose 2] Proxy address: :1" + noHost},
          Row{1, "p.local", 0, "", "", address + "0" + noPort},
          Row{1, "p.local", 68664, "", "", address + "68664" + noPort}}) { // 65536 + 3128
        m_state.startAnew();
        mainKey().writeNumber("proxyMode", mode);
        mainKey().writeString("proxyHost", host);
        mainKey().writeNumber("proxyPort", port);
        mainKey().writeString("proxyUsername", login.section(':', 0, 0));
        mainKey().writeString("proxyPassword", login.section(':', 1));
        const auto proxy = configuredProxy();
        QVERIFY(!proxy || proxy->type() == QNetworkProxy::HttpProxy);
        QCOMPARE(proxy ? QString("%1:%2@%3:%4")
                             .arg(proxy->user(), proxy->password(), proxy->hostName())
                             .arg(proxy->port())
                       : "",
                 expected);
        QCOMPARE(m_state.takeLog().join('|'), log);
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
