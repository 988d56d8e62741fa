#include "api/transaction.h"

#include "api/company_data_fetch.h"
#include "api/connectivity.h"
#include "api/error_policy.h"
#include "context/ip_address.h"
#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/message_box.h"
#include "core/sealed_envelope.h"
#include "core/secret.h"
#include "core/settings.h"
#include "core/verdict.h"
#include "core/version.h"
#include "otp/offline_period.h"
#include "otp/offline_secret.h"
#include "otp/otp_manager.h"
#include "otp/recovery_code_controller.h"
#include "rest/service_settings.h"

#include <QDateTime>
#include <QSysInfo>
#include <openssl/sha.h>
#include <utility>

namespace korvex {

namespace {

QString text(const QJsonObject& object, const QString& name)
{
    return object.value(name).toString();
}

/// The first seven hex digits of the offline secret's SHA-256, by which the service sees whether
/// this device holds the current one; empty without a secret.
QString storedSecretDigest()
{
    QByteArray secret = otp::loadOtpSecret(userRegistryData().get());
    if (secret.isEmpty())
        return {};
    QByteArray digest(SHA256_DIGEST_LENGTH, '\0');
    SHA256(reinterpret_cast<const unsigned char*>(secret.constData()),
           static_cast<size_t>(secret.size()), reinterpret_cast<unsigned char*>(digest.data()));
    wipe(secret);
    return QString::fromLatin1(digest.toHex().left(7));
}

/// A secret that cannot be stored changes nothing: the former one and the verdict stay.
void keepNewSecret(const QString& sealed)
{
    const bool stored = openSealedText(sealed, otp::OTPManager(userRegistryData()).setOtpSecret());
    logger().log(0, QStringLiteral("Received new secret, update status: ") +
                        QString::number(stored ? 1 : 0));
}

/// What the next sign-in needs if the service cannot be reached then.
void prepareOfflineMode()
{
    // Also without OfflineAuth, which may be switched on before the next sign-in.
    otp::noteOnlineSignIn(*userRegistryData(), QDateTime::currentSecsSinceEpoch());
    // Made here already, so that the help desk can collect it before it is needed.
    if (readBool(Setting::OfflineAuth) && readString(Setting::RecoveryCode).isEmpty())
        RecoveryCodeController().regenCode();
}

} // namespace

Transaction::Transaction(LogonInput input, IdentityResolver resolver)
    : m_input(std::move(input))
    , m_resolver(std::move(resolver))
{}

void Transaction::start()
{
    setupAccessParams();
    if (!validateFields() || !Connectivity::checkConnection(m_client))
        return;
    emit serviceReachable();

    fetchCompanyDataOnce(m_client, m_systemToken);
    if (verdictGiven())
        return;

    const QJsonDocument body = buildPostData(PostType::Init);
    if (body.isEmpty())
        return;
    const auto result = m_client.post(QStringLiteral("/api/transaction/init"), body);
    if (verdictGiven())
        return;
    if (result)
        openWebPage(*result);
    else
        handlePostError(result.error());
}

void Transaction::setupAccessParams()
{
    m_apiServer = apiServer();
    m_systemToken = readString(Setting::SystemToken);
    m_identity = m_resolver.resolve(m_input);
}

bool Transaction::validateFields() const
{
    if (m_identity.userName.isEmpty()) {
        logger().logError(QStringLiteral("Missing field exception: userName"));
        return deny(QStringLiteral("Invalid transaction fields"));
    }
    // The service judges these; here they are only logged.
    if (!m_identity.userEmail.isEmpty() && !isEmail(m_identity.userEmail))
        logger().logWarning(0, QStringLiteral("Defined 'userEmail' field is invalid, userEmail: ") +
                                   m_identity.userEmail);
    if (m_identity.rdpMode && !isValidIpAddress(m_identity.ip))
        logger().logWarning(0, QStringLiteral("Incorrect ip (IPv4/IPv6) address format: ") +
                                   m_identity.ip);
    return true;
}

QJsonDocument Transaction::buildPostData(PostType type, const QString& accessToken)
{
    switch (type) {
    case PostType::Init: {
        if (!chooseName())
            return {};
        QJsonObject params{
            {QStringLiteral("appVer"), QLatin1String(kVersion)},
            {QStringLiteral("hostName"), QSysInfo::machineHostName()},
            {QStringLiteral("rdpMode"), m_identity.rdpMode},
            {QStringLiteral("hrpsk"), storedSecretDigest()},
        };
        if (!m_identity.ip.isEmpty())
            params.insert(QStringLiteral("userIP"), m_identity.ip);
        logger().log(0, QStringLiteral("Init step: URL: %1, systemToken: %2, username: %3")
                            .arg(m_apiServer, m_systemToken, m_name));
        return QJsonDocument(QJsonObject{
            {QStringLiteral("systemToken"), m_systemToken},
            {QStringLiteral("username"), m_name},
            {QStringLiteral("params"), params},
        });
    }
    case PostType::Credential:
        return QJsonDocument(QJsonObject{
            {QStringLiteral("systemToken"), m_systemToken},
            {QStringLiteral("accessToken"), accessToken},
        });
    }
    deny(QStringLiteral("Unsupported post type. Contact with Korvex team"));
    return {};
}

bool Transaction::chooseName()
{
    const auto name = IdentityResolver::nameToSend(m_identity);
    if (name) {
        m_name = *name;
        return true;
    }
    if (failModeIsBypass())
        grant(QStringLiteral("Could not retrieve correct UPN! FailMode bypass."));
    else
        deny(QStringLiteral("Could not retrieve correct UPN!"));
    return false;
}

void Transaction::openWebPage(const QJsonObject& result)
{
    const QString address = text(result, QStringLiteral("webURI"));
    if (address.isEmpty()) {
        logger().logError(QStringLiteral("Web URI not received"));
        handlePostError({ErrorCode::UnknownServiceError, {}});
        return;
    }
    const QUrl url(address);
    const bool isWebAddress =
        url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    if (!isWebAddress || url.host().isEmpty()) {
        // The engine reports nothing for an address that it does not load, so the window would
        // never be shown.
        logger().logError(QStringLiteral("Web URI is no web address: ") + address);
        handlePostError({ErrorCode::UnknownServiceError, {}});
        return;
    }
    logger().log(2, QStringLiteral("Show web page, URL: ") + address);
    m_waitingForPage = true;
    emit showWebPage(url);
}

void Transaction::credentials(const QString& accessToken)
{
    // A page may set its title more than once. A second token would cross the first one's request.
    if (!std::exchange(m_waitingForPage, false) || verdictGiven()) {
        logger().log(1, QStringLiteral("Transaction does not wait for a token, token ignored"));
        return;
    }
    const QJsonDocument body = buildPostData(PostType::Credential, accessToken);
    m_client.useFreshConnection();
    const auto result = m_client.post(QStringLiteral("/api/transaction/credentials"), body);
    if (verdictGiven())
        return;
    if (result)
        judgeCredentials(*result);
    else
        handlePostError(result.error());
}

void Transaction::judgeCredentials(const QJsonObject& result)
{
    const QString tokenMember = QStringLiteral("systemToken");
    const QString nameMember = QStringLiteral("username");
    if (!result.contains(tokenMember) || !result.contains(nameMember)) {
        logger().logError(QStringLiteral("Invalid credentials response data"));
        handlePostError({ErrorCode::UnknownServiceError, {}});
        return;
    }
    const QString systemToken = text(result, tokenMember);
    const QString name = text(result, nameMember);
    if (systemToken != m_systemToken || name != m_name) {
        logger().logWarning(0, QStringLiteral("Invalid authentication data! User: %1, Token: %2")
                                   .arg(name, systemToken));
        deny(QStringLiteral("Authentication data does not match"));
        return;
    }
    if (const QString sealed = text(result, QStringLiteral("erpsk")); !sealed.isEmpty())
        keepNewSecret(sealed);
    prepareOfflineMode();
    grant(QStringLiteral("User allowed by Korvex server"));
}

bool Transaction::handlePostError(const KorvexError<ErrorCode>& error)
{
    const int code = static_cast<int>(error.code);
    logger().logWarning(1, QStringLiteral("Transaction::handlePostError code: %1, error: '%2'")
                               .arg(QString::number(code), error.message));
    const ErrorPolicy policy = errorPolicy(error.code, failModeIsBypass());
    if (policy.messageBox)
        showMessageBox(tr(policy.messageBox));
    const QString reason = QString::fromLatin1(policy.reason);
    return policy.granted ? grant(reason) : deny(reason);
}

} // namespace korvex
