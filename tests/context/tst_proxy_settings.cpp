#include "context/proxy_settings.h"
#include "core/process_state.h"

#include <QtTest>

using namespace korvex;

class TestProxySettings : public QObject
{
    Q_OBJECT

private slots:
    void configured_data();
    void configured();
    void lastsForOneSignIn();

private:
    test::ProcessState m_state;
};

void TestProxySettings::configured_data()
{
    using Values = QVariantMap;
    QTest::addColumn<Values>("values");
    QTest::addColumn<QString>("proxy"); // "user:password@host:port"
    QTest::addColumn<QString>("log");
    const QString address = "[Verbose 2] Proxy address: ";
    const QString noHost = "\n[Warning] Invalid proxy configuration, 'proxyHost' not defined";
    const QString noPort = "\n[Warning] Invalid proxy configuration, 'proxyPort' not defined";
    const auto with = [](Values values, const QString& name, const QVariant& value) {
        values.insert(name, value);
        return values;
    };
    const Values full{{"proxyMode", 5}, {"proxyHost", "proxy.local"}, {"proxyPort", 3128}};
    const Values user = with(full, "proxyUsername", "me");
    const QString open = address + "proxy.local:3128";
    QTest::newRow("nothing") << Values{} << "" << "";
    QTest::newRow("mode 0") << with(full, "proxyMode", 0) << "" << "";
    QTest::newRow("mode is a text") << with(full, "proxyMode", "1") << "" << "";
    QTest::newRow("no user") << full << ":@proxy.local:3128" << open;
    QTest::newRow("user") << user << "me:@proxy.local:3128" << open;
    QTest::newRow("password") << with(full, "proxyPassword", "pw") << ":pw@proxy.local:3128"
                              << open;
    QTest::newRow("both") << with(user, "proxyPassword", "pw") << "me:pw@proxy.local:3128" << open;
    QTest::newRow("mode -1, last port") << with(with(full, "proxyMode", -1), "proxyPort", 65535)
                                        << ":@proxy.local:65535" << address + "proxy.local:65535";
    QTest::newRow("no host") << with(full, "proxyHost", "") << "" << address + ":3128" + noHost;
    QTest::newRow("no port") << with(full, "proxyPort", 0) << ""
                             << address + "proxy.local:0" + noPort;
    QTest::newRow("port is a text")
        << with(full, "proxyPort", "3128") << "" << address + "proxy.local:0" + noPort;
    QTest::newRow("no port of any machine")
        << with(full, "proxyPort", 65536 + 3128) << "" << address + "proxy.local:68664" + noPort;
    QTest::newRow("neither") << Values{{"proxyMode", 1}} << "" << address + ":0" + noHost;
}

void TestProxySettings::configured()
{
    QFETCH(QVariantMap, values);
    m_state.startAnew();
    for (auto value = values.cbegin(); value != values.cend(); ++value)
        QVERIFY(value->type() == QVariant::Int
                    ? mainKey().writeNumber(value.key(), value->toInt())
                    : mainKey().writeString(value.key(), value->toString()));
    const auto proxy = configuredProxy();
    QString text;
    if (proxy) {
        QCOMPARE(proxy->type(), QNetworkProxy::HttpProxy);
        text = QString("%1:%2@%3:%4")
                   .arg(proxy->user(), proxy->password(), proxy->hostName(),
                        QString::number(proxy->port()));
    }
    QTEST(text, "proxy");
    QTEST(m_state.takeLog().join('\n'), "log");
}

void TestProxySettings::lastsForOneSignIn()
{
    const QNetworkProxy before = QNetworkProxy::applicationProxy();
    for (const bool system : {true, false}) {
        QNetworkProxyFactory::setUseSystemConfiguration(system);
        {
            const ApplicationProxy installed({QNetworkProxy::HttpProxy, "proxy.local", 3128});
            QCOMPARE(QNetworkProxy::applicationProxy().hostName(), QString("proxy.local"));
            QVERIFY(!QNetworkProxyFactory::usesSystemConfiguration());
        }
        QCOMPARE(QNetworkProxy::applicationProxy(), before);
        QCOMPARE(QNetworkProxyFactory::usesSystemConfiguration(), system);
    }
}

QTEST_GUILESS_MAIN(TestProxySettings)

#include "tst_proxy_settings.moc"
