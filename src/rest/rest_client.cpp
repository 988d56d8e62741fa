#include "rest/rest_client.h"

#include "core/log.h"
#include "core/secret.h"
#include "core/settings.h"
#include "rest/service_envelope.h"
#include "rest/service_settings.h"

#include <QEventLoop>
#include <QMessageAuthenticationCode>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <memory>

namespace korvex {

namespace {

constexpr char kSignatureHeader[] = "X-Korvex-Signature";

struct DeleteLater
{
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};
using Reply = std::unique_ptr<QNetworkReply, DeleteLater>;

class SystemProxies : public QNetworkProxyFactory
{
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override
    {
        return systemProxyForQuery(query);
    }
};

int httpStatus(const QNetworkReply& reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// The service answers a refused request with status 400 and an envelope that says why.
bool isReadableRefusal(const QNetworkReply& reply)
{
    return reply.error() == QNetworkReply::ProtocolInvalidOperationError &&
           httpStatus(reply) == 400 && reply.bytesAvailable() > 0;
}

/// Whether the headers, and the first bytes of a refusal, say already that the service is there.
bool isAnswer(const QNetworkReply& reply)
{
    const int status = httpStatus(reply);
    return (status > 0 && status < 400) || (status == 400 && reply.bytesAvailable() > 0);
}

Result<void> judge(const QNetworkReply& reply)
{
    const int error = reply.error();
    if (error != QNetworkReply::NoError && !isReadableRefusal(reply)) {
        logger().logWarning(0, QStringLiteral("Http request error '%1' '%2', http code '%3'")
                                   .arg(QString::number(error), reply.errorString(),
                                        QString::number(httpStatus(reply))));
        const bool serverSide = error >= QNetworkReply::InternalServerError &&
                                error <= QNetworkReply::UnknownServerError;
        return failure(serverSide ? ErrorCode::ServerFailure : ErrorCode::TransferFailure);
    }
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    if (!encoding.isEmpty() && encoding != "identity") {
        logger().logWarning(0, QStringLiteral("Http answer refused, it is compressed: ") +
                                   QString::fromLatin1(encoding));
        return failure(ErrorCode::TransferFailure);
    }
    return {};
}

} // namespace

KorvexRestAPIClient::KorvexRestAPIClient()
    : m_manager(new QNetworkAccessManager(this))
    , m_timeout(requestTimeout())
    , m_baseUrl(apiServer())
{
    m_manager->setTransferTimeout(m_timeout);
}

Result<QJsonObject> KorvexRestAPIClient::post(const QString& path, const QJsonDocument& body)
{
    return send("POST", path, body);
}

Result<QJsonObject> KorvexRestAPIClient::patch(const QString& path, const QJsonDocument& body)
{
    return send("PATCH", path, body);
}

Result<QByteArray> KorvexRestAPIClient::get(const QString& absoluteUrl, qint64 maxAnswerSize,
                                            Route route)
{
    const QUrl url(absoluteUrl);
    // Qt would read local files too, and the address comes from outside.
    if (url.scheme() != QLatin1String("https") && url.scheme() != QLatin1String("http")) {
        logger().logWarning(0,
                            QStringLiteral("Http request refused, no web address: ") + absoluteUrl);
        return failure(ErrorCode::TransferFailure);
    }
    KorvexRestAPIClient client;
    if (route == Route::System)
        client.m_manager->setProxyFactory(new SystemProxies); // owned by the manager
    return client.fetch(url, maxAnswerSize);
}

Result<void> KorvexRestAPIClient::probe()
{
    Reply reply(m_manager->get(requestFor(QUrl(m_baseUrl))));
    limit(*reply, kMaxAnswerSize);
    QEventLoop loop;
    bool answered = false;
    const auto look = [&] {
        answered = answered || isAnswer(*reply);
        if (answered)
            loop.quit();
    };
    connect(reply.get(), &QNetworkReply::metaDataChanged, &loop, look);
    connect(reply.get(), &QNetworkReply::readyRead, &loop, look);
    connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    if (!answered) {
        if (!reply->isFinished())
            reply->abort();
        return judge(*reply);
    }
    // The rest of the body still comes, so that the next request can use the connection.
    if (!reply->isFinished()) {
        QNetworkReply* const rest = reply.release();
        connect(rest, &QNetworkReply::finished, rest, &QObject::deleteLater);
    }
    return {};
}

void KorvexRestAPIClient::useFreshConnection()
{
    m_manager->clearConnectionCache();
}

QByteArray KorvexRestAPIClient::sign(const QByteArray& body) const
{
    QByteArray key = readSecretKey();
    if (key.isEmpty())
        return {};
    const QByteArray digest =
        QMessageAuthenticationCode::hash(body, key, QCryptographicHash::Sha256);
    wipe(key);
    return digest.toHex();
}

Result<QJsonObject> KorvexRestAPIClient::send(const QByteArray& method, const QString& path,
                                              const QJsonDocument& body)
{
    const QByteArray bytes = body.toJson(QJsonDocument::Compact);
    const QByteArray signature = sign(bytes);
    if (signature.isEmpty()) {
        logger().logError(QStringLiteral("Http request not sent, no secret key to sign it"));
        return failure(ErrorCode::InvalidSignature);
    }
    QNetworkRequest request = requestFor(QUrl(m_baseUrl + path, QUrl::TolerantMode));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setRawHeader("Accept", "application/json");
    request.setRawHeader(kSignatureHeader, signature);

    const Reply reply(m_manager->sendCustomRequest(request, method, bytes));
    if (const auto transfer = waitFor(*reply); !transfer)
        return std::unexpected(transfer.error());

    const QByteArray answer = reply->readAll();
    if (!isAuthentic(*reply, answer))
        return failure(ErrorCode::InvalidSignature);
    logger().logRequest(QStringLiteral("Response: ") + QString::fromUtf8(answer));
    return readServiceEnvelope(answer);
}

Result<QByteArray> KorvexRestAPIClient::fetch(const QUrl& url, qint64 maxAnswerSize)
{
    const Reply reply(m_manager->get(requestFor(url)));
    if (const auto transfer = waitFor(*reply, maxAnswerSize); !transfer)
        return std::unexpected(transfer.error());
    return reply->readAll();
}

void KorvexRestAPIClient::limit(QNetworkReply& reply, qint64 maxAnswerSize) const
{
    // The manager's own time-out restarts with every byte. This one also ends an endless answer.
    QTimer::singleShot(m_timeout, &reply, &QNetworkReply::abort);
    connect(&reply, &QNetworkReply::readyRead, &reply, [&reply, maxAnswerSize] {
        if (reply.bytesAvailable() > maxAnswerSize)
            reply.abort();
    });
}

Result<void> KorvexRestAPIClient::waitFor(QNetworkReply& reply, qint64 maxAnswerSize) const
{
    limit(reply, maxAnswerSize);
    QEventLoop loop;
    connect(&reply, SIGNAL(finished()), &loop, SLOT(quit()));
    if (!reply.isFinished())
        loop.exec();
    // A verdict that is given during the wait ends every event loop, this one included.
    if (!reply.isFinished())
        reply.abort();
    return judge(reply);
}

bool KorvexRestAPIClient::isAuthentic(const QNetworkReply& reply, const QByteArray& body) const
{
    const QByteArray signature = reply.rawHeader(kSignatureHeader);
    // The service does not sign this one answer, so it is accepted without a signature.
    if (signature.isEmpty() && body.contains("UserBypassedException"))
        return true;
    const QByteArray expected = sign(body);
    return !expected.isEmpty() && equalInConstantTime(signature, expected);
}

QNetworkRequest KorvexRestAPIClient::requestFor(const QUrl& url) const
{
    QNetworkRequest request(url);
    // No compression: a small answer could expand beyond the limit.
    request.setRawHeader("Accept-Encoding", "identity");
    for (const auto attribute :
         {QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::CookieSaveControlAttribute})
        request.setAttribute(attribute, QNetworkRequest::Manual);
    // Manual: no server gets credentials. With a proxy user it is left out, because Qt would
    // withhold them from the proxy too.
    if (QNetworkProxy::applicationProxy().user().isEmpty())
        request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute,
                             QNetworkRequest::Manual);
    return request;
}

} // namespace korvex
