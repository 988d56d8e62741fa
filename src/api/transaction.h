#pragma once

#include "context/identity.h"
#include "core/logon_input.h"
#include "rest/rest_client.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QUrl>

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
    explicit Transaction(LogonInput input, IdentityResolver resolver = IdentityResolver());

    /// The opening sequence, up to showWebPage(), a verdict or the offline screen.
    void start();

    /// The closing sequence, with the token that the page produced, to its verdict. Only a
    /// transaction that waits for its page takes a token, and only one.
    void credentials(const QString& accessToken);

    /// The body of a request; empty when there is none to send: for an unknown type, which denies,
    /// and for a name that cannot be sent, which FailMode has judged.
    QJsonDocument buildPostData(PostType type, const QString& accessToken = {});

    /// Turns a failed request into a verdict; true for granted.
    bool handlePostError(const KorvexError<ErrorCode>& error);

signals:
    /// The service answers, so its page will be needed.
    void serviceReachable();
    /// The address of the service's page for this transaction.
    void showWebPage(QUrl url);

private:
    void setupAccessParams();
    bool validateFields() const;
    bool chooseName();
    void openWebPage(const QJsonObject& result);
    void judgeCredentials(const QJsonObject& result);

    LogonInput m_input;
    IdentityResolver m_resolver;
    KorvexRestAPIClient m_client; ///< one for the transaction's life, so its connection is reused
    Identity m_identity;
    QString m_apiServer;
    QString m_systemToken;
    QString m_name; ///< as sent: the closing answer is compared with it
    bool m_waitingForPage = false;
};

} // namespace korvex
