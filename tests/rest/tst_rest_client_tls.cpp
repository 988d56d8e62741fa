#include "rest/rest_client.h"
#include "rest/service_state.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QtTest>

using namespace korvex;

/// Certificates and missing TLS. A program of its own, since there is Qt without TLS.
class TestRestClientTls : public QObject
{
    Q_OBJECT

private slots:
    void certificate();
    void noTls();

private:
    /// Both kinds of request, and whether each failed in the handshake.
    void verifyNoHandshake()
    {
        QVERIFY(!KorvexRestAPIClient().post(test::kInit, {}));
        QVERIFY(!KorvexRestAPIClient().probe());
        QCOMPARE(m_state.takeLog().filter("Http request error '6'").size(), 2);
        QVERIFY(m_state.paths().isEmpty());
    }

    test::ServiceState m_state;
};

void TestRestClientTls::certificate()
{
    m_state.startAnew(true);
    verifyNoHandshake();

    const QSslConfiguration untouched = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = untouched;
    trusting.addCaCertificate(QSslCertificate(m_state.service().certificatePem()));
    QSslConfiguration::setDefaultConfiguration(trusting);
    const bool reached = KorvexRestAPIClient().probe().has_value();
    QSslConfiguration::setDefaultConfiguration(untouched);
    QVERIFY(reached);
}

void TestRestClientTls::noTls()
{
    m_state.startAnew();
    mainKey().writeString("korvexApiServer",
                          "https://" + m_state.service().baseUrl().section('/', 2));
    verifyNoHandshake();
}

QTEST_MAIN(TestRestClientTls)

#include "tst_rest_client_tls.moc"
