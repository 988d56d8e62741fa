#pragma once

#include "core/error.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QString>

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

namespace korvex {

/// The client of the MFA service: signed JSON requests, answers with their signature checked.
///
/// Every operation blocks its thread in an event loop of its own until the answer or the time-out,
/// so other slots of that thread may run meanwhile. An operation that the end of the application's
/// event loop interrupts fails like a lost connection. The registry value RequestTimeout
/// (milliseconds, default 20000) limits the time without data and the time of the whole transfer;
/// an answer may have at most 4 MiB. No cookies or credentials are kept between requests.
class KorvexRestAPIClient : public QObject
{
    Q_OBJECT

public:
    KorvexRestAPIClient();

    /// Sends a signed body to base URL + path and returns the `result` object of the answer.
    /// Errors: InvalidSignature, those the service reports, UnknownServiceError, ServerFailure,
    /// TransferFailure, NotJsonObject.
    [[nodiscard]] Result<QJsonObject> post(const QString& path, const QJsonDocument& body);
    [[nodiscard]] Result<QJsonObject> patch(const QString& path, const QJsonDocument& body);

    /// An unsigned GET of any web address (http, https), with a separate client. Returns the body,
    /// of at most `maxAnswerSize` bytes.
    /// Errors: ServerFailure, TransferFailure (also for an address of another scheme).
    [[nodiscard]] static Result<QByteArray> get(const QString& absoluteUrl,
                                                qint64 maxAnswerSize = kMaxAnswerSize);

    /// Asks whether the service can be reached: an unsigned GET of the bare base URL.
    /// Errors: ServerFailure, TransferFailure.
    [[nodiscard]] Result<void> probe();

    /// The signature of a body: HMAC-SHA256 under the SecretKey setting, 64 lower-case hex digits.
    QByteArray sign(const QByteArray& body) const;

private:
    static constexpr qint64 kMaxAnswerSize = qint64{4} * 1024 * 1024;

    Result<QJsonObject> send(const QByteArray& method, const QString& path,
                             const QJsonDocument& body);
    Result<QByteArray> fetch(const QUrl& url, qint64 maxAnswerSize = kMaxAnswerSize);
    Result<void> waitFor(QNetworkReply& reply, qint64 maxAnswerSize = kMaxAnswerSize) const;
    bool isAuthentic(const QNetworkReply& reply, const QByteArray& body) const;
    QNetworkRequest requestFor(const QUrl& url) const;

    QNetworkAccessManager* m_manager;
    int m_timeout; ///< milliseconds
    QString m_baseUrl;
};

} // namespace korvex
