#include "mfa_service/mfa_service.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslConfiguration>
#include <QTest>
#include <memory>

using namespace korvex::mfa_service;

/// The service over HTTPS. A program of its own, since there is Qt without TLS.
class TestMfaServiceTls : public QObject
{
    Q_OBJECT

private slots:
    void https();
};

namespace {

/// The status of the answer to a request by a client that has no connection yet; 0 without one.
int statusOf(const QNetworkRequest& request)
{
    QNetworkAccessManager manager;
    const std::unique_ptr<QNetworkReply> reply(manager.get(request));
    if (!QTest::qWaitFor([&reply] { return reply->isFinished(); }, 20'000))
        return 0;
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

} // namespace

void TestMfaServiceTls::https()
{
    MfaService service({.systemToken = "system", .secretKey = "Jefe", .https = true});
    QVERIFY(service.start());
    QVERIFY(service.baseUrl().startsWith("https://127.0.0.1:"));
    QNetworkRequest request(QUrl(service.baseUrl()));
    QCOMPARE(statusOf(request), 0);

    // With the address named in the certificate, or this would fail as well.
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.setCaCertificates(QSslCertificate::fromData(service.certificatePem()));
    request.setSslConfiguration(trusting);
    QCOMPARE(statusOf(request), 200);
}

QTEST_GUILESS_MAIN(TestMfaServiceTls)

#include "tst_mfa_service_tls.moc"
