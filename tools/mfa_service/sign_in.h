#pragma once

#include "answer.h"
#include "request.h"
#include "service_options.h"
#include "transactions.h"

#include <QHash>
#include <QJsonObject>
#include <mutex>
#include <optional>

namespace korvex::mfa_service {

/// The normal answers of the service: to the probe, to the signed calls, to the page and the code
/// that it sends, and for the company's logo. Independent of sockets. Thread-safe.
class SignIn
{
public:
    explicit SignIn(const ServiceOptions& options);

    Answer answer(const Request& request, const QString& baseUrl);

    void addUser(const QString& name, const QByteArray& totpSecret);
    /// The code that the user's authenticator app shows now; empty for an unknown user.
    QString currentCode(const QString& user);

private:
    Answer answerSigned(const Request& request, const QString& baseUrl);
    Answer init(const QJsonObject& body, const QString& baseUrl);
    Answer credentials(const QJsonObject& body);
    Answer companyData(const QString& baseUrl) const;
    Answer companyLogo() const;
    Answer page(const QString& id);
    Answer enterCode(const QString& id, const QByteArray& body);

    std::optional<QByteArray> secretOf(const QString& user);
    void announceCode(const QString& user);
    qint64 now() const;

    const ServiceOptions m_options;
    const QByteArray m_secretKey;
    std::mutex m_mutex; ///< guards what follows
    QHash<QString, QByteArray> m_users;
    Transactions m_transactions;
};

} // namespace korvex::mfa_service
