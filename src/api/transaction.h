#pragma once

#include "context/identity.h"
#include "rest/rest_client.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QUrl>
#include <optional>

namespace korvex {

/// One sign-in through the MFA service: Init, the service's page, Credential.
///
/// GUI thread. The requests block in event loops of their own; once a verdict has been given,
/// whoever gave it, nothing more is sent.
class Transaction : public QObject
{
    Q_OBJECT

public:
    enum class PostType { Init, Credential };

    /// Sends nothing yet. `resolver` answers who signs in.
    explicit Transaction(const QJsonDocument& input,
                         IdentityResolver resolver = IdentityResolver());

    /// The opening sequence, up to showWebPage(). 1 when the page was asked for, else the verdict
    /// that ended the sequence (1 granted, 0 denied or none).
    int start();

    /// The closing sequence, with the token that the page produced. Only a transaction that waits
    /// for its page takes a token, and only one. Returns the verdict: 1 granted, 0 denied.
    int credentials(const QString& accessToken);

    /// The body of a request; empty when there is none to send: for an unknown type, which denies,
    /// and when working out the name gave the verdict.
    QJsonDocument buildPostData(PostType type, const QString& accessToken = {});

    /// Turns a failed request into a verdict; true for granted.
    bool handlePostError(const KorvexError<ErrorCode>& error);

signals:
    /// The service answers, so its page will be needed.
    void serviceReachable();
    /// The address of the service's page for this transaction.
    void showWebPage(QUrl url);

private:
    void setupAccessParams(const QJsonDocument& input);
    bool validateFields() const;
    int openWebPage(const QJsonObject& result);
    int judgeCredentials(const QJsonObject& result);
    const QString& nameToSend();

    QJsonDocument m_input;
    IdentityResolver m_resolver;
    KorvexRestAPIClient m_client; ///< one for the transaction's life, so its connection is reused
    Identity m_identity;
    QString m_apiServer;
    QString m_systemToken;
    std::optional<QString> m_name; ///< worked out once: the answer is compared with what was sent
    bool m_waitingForPage = false;
};

} // namespace korvex
