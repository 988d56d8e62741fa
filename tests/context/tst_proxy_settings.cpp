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
    QTest::addColumn<QString>("values"); // a number is stored as one, unless in quotes
    QTest::addColumn<QString>("proxy");
    QTest::addColumn<QString>("log");
    const auto row = [](const QString& values, const char* proxy, const QString& log) {
        QTest::newRow(qPrintable(values)) << values << proxy << log;
    };
    const QString log = "[Verbose 2] Proxy address: p.local:";
    const QString noHost = "\n[Warning] Invalid proxy configuration, 'proxyHost' not defined";
    const QString noPort = "\n[Warning] Invalid proxy configuration, 'proxyPort' not defined";
    row("", "", "");
    row("Mode='1' Host=p.local Port=3128", "", "");
    row("Mode=5 Host=p.local Port=3128", ":@p.local:3128", log + "3128");
    row("Mode=-1 Host=p.local Port=65535 Username=me", "me:@p.local:65535", log + "65535");
    row("Mode=1 Host=p.local Port=1 Username=me Password=pw", "me:pw@p.local:1", log + "1");
    row("Mode=1", "", "[Verbose 2] Proxy address: :0" + noHost);
    row("Mode=1 Host=p.local", "", log + "0" + noPort);
    row("Mode=1 Host=p.local Port=68664", "", log + "68664" + noPort); // 65536 + 3128
}

void TestProxySettings::configured()
{
    QFETCH(QString, values);
    m_state.startAnew();
    for (const QString& value : values.split(' ', Qt::SkipEmptyParts)) {
        const QString name = "proxy" + value.section('=', 0, 0);
        bool isNumber = false;
        const int number = value.section('=', 1).toInt(&isNumber);
        QVERIFY(isNumber ? mainKey().writeNumber(name, number)
                         : mainKey().writeString(name, value.section('=', 1).remove('\'')));
    }
    QString text;
    if (const auto proxy = configuredProxy(); proxy && proxy->type() == QNetworkProxy::HttpProxy)
        text = QString("%1:%2@%3:%4")
                   .arg(proxy->user(), proxy->password(), proxy->hostName())
                   .arg(proxy->port());
    QTEST(text, "proxy");
    QTEST(m_state.takeLog().join('\n'), "log");
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
