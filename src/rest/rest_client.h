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

    /// How a request leaves the machine.
    enum class Route {
        Configured, ///< by the application's proxy, if one is set
        System,     ///< as the machine itself goes, by the system's proxy if it has one
    };

    /// An unsigned GET of any web address (http, https), with a separate client. Returns the body,
    /// of at most `maxAnswerSize` bytes. Any thread.
    /// Errors: ServerFailure, TransferFailure (also for an address of another scheme).
    [[nodiscard]] static Result<QByteArray> get(const QString& absoluteUrl,
                                                qint64 maxAnswerSize = kMaxAnswerSize,
                                                Route route = Route::Configured);

    /// Asks whether the service can be reached: an unsigned GET of the bare base URL. The headers
    /// of an answer are enough; what follows them is read and dropped, within the usual limits.
    /// Errors: ServerFailure, TransferFailure.
    [[nodiscard]] Result<void> probe();

    /// Makes the next request open a connection of its own: after minutes without traffic, a
    /// firewall may have dropped the one before without a word.
    void useFreshConnection();

    /// The signature of a body: HMAC-SHA256 under the SecretKey setting, 64 lower-case hex digits;
    /// empty without a key, which signs nothing.
    QByteArray sign(const QByteArray& body) const;

private:
    static constexpr qint64 kMaxAnswerSize = qint64{4} * 1024 * 1024;

    Result<QJsonObject> send(const QByteArray& method, const QString& path,
                             const QJsonDocument& body);
    Result<QByteArray> fetch(const QUrl& url, qint64 maxAnswerSize = kMaxAnswerSize);
    void limit(QNetworkReply& reply, qint64 maxAnswerSize) const;
    Result<void> waitFor(QNetworkReply& reply, qint64 maxAnswerSize = kMaxAnswerSize) const;
    bool isAuthentic(const QNetworkReply& reply, const QByteArray& body) const;
    QNetworkRequest requestFor(const QUrl& url) const;

    QNetworkAccessManager* m_manager;
    int m_timeout; ///< milliseconds
    QString m_baseUrl;
};

} // namespace korvex
