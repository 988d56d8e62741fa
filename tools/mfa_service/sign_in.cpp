#include "sign_in.h"

#include "contract.h"
#include "sealed_text.h"
#include "totp.h"

#include <QFile>
#include <QJsonDocument>
#include <QMimeDatabase>
#include <chrono>
#include <openssl/crypto.h>

namespace korvex::mfa_service {

namespace {

constexpr int kTotpSecretBytes = 20;
constexpr char kLogoPath[] = "/company/logo";

// Nothing from other servers, no scripts except the page's own, no frame around the page.
constexpr char kPagePolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; "
    "connect-src 'self'; img-src data:; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";

QByteArray resource(const QString& name)
{
    QFile file(QStringLiteral(":/korvex/mfa_service/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Answer notFound()
{
    return {.status = 404, .body = "Not found\n"};
}

Answer refusal(const QByteArray& secretKey, ErrorCode code, const QString& details,
               const QString& exception)
{
    return failure(secretKey, static_cast<int>(code), details, exception);
}

Answer pageJson(int status, const QJsonObject& body)
{
    return {.status = status,
            .contentType = "application/json",
            .body = QJsonDocument(body).toJson(QJsonDocument::Compact)};
}

bool isSignatureRight(const QByteArray& secretKey, const Request& request)
{
    const QByteArray expected = signature(secretKey, request.body);
    const QByteArray given = request.headers.value(QByteArray(kSignatureHeader).toLower());
    return given.size() == expected.size() &&
           CRYPTO_memcmp(given.constData(), expected.constData(),
                         static_cast<std::size_t>(expected.size())) == 0;
}

} // namespace

SignIn::SignIn(const ServiceOptions& options)
    : m_options(options)
    , m_secretKey(options.secretKey.toUtf8())
{}

Answer SignIn::answer(const Request& request, const QString& baseUrl)
{
    const QString route = request.route();
    if (request.method == "POST") {
        if (route == QLatin1String(kInitPath) || route == QLatin1String(kCredentialsPath) ||
            route == QLatin1String(kCompanyDataPath))
            return answerSigned(request, baseUrl);
        if (route == QLatin1String("/signin/code"))
            return enterCode(request.path.section('/', 2, -2), request.body);
    } else if (request.method == "GET") {
        if (route == QLatin1String("/"))
            return {.body = "The MFA service is up.\n"};
        if (route == QLatin1String("/signin"))
            return page(request.path.section('/', 2));
        if (route == QLatin1String("/page/signin.css"))
            return {.contentType = "text/css; charset=utf-8", .body = resource("page/signin.css")};
        if (route == QLatin1String("/page/signin.js")) {
            return {.contentType = "text/javascript; charset=utf-8",
                    .body = resource("page/signin.js")};
        }
        if (route == QLatin1String(kLogoPath))
            return companyLogo();
    }
    return notFound();
}

Answer SignIn::answerSigned(const Request& request, const QString& baseUrl)
{
    if (!isSignatureRight(m_secretKey, request)) {
        return refusal(m_secretKey, ErrorCode::WrongSignature, "The request's signature is wrong",
                       "InvalidSignatureException");
    }
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    const bool isInit = request.path == QLatin1String(kInitPath);
    const bool isCompanyData = request.path == QLatin1String(kCompanyDataPath);
    const bool isAgreed = isInit          ? isInitBody(body)
                          : isCompanyData ? isCompanyDataBody(body)
                                          : isCredentialsBody(body);
    if (!isAgreed) {
        return refusal(m_secretKey, ErrorCode::MalformedRequest,
                       "The request does not have the agreed members", "InvalidRequestException");
    }
    if (body.value("systemToken").toString() != m_options.systemToken) {
        return refusal(m_secretKey, ErrorCode::WrongSystemToken, "The system token is unknown",
                       "InvalidSystemTokenException");
    }
    return isInit ? init(body, baseUrl) : isCompanyData ? companyData(baseUrl) : credentials(body);
}

Answer SignIn::init(const QJsonObject& body, const QString& baseUrl)
{
    const QString user = body.value("username").toString();
    QString id;
    {
        const std::lock_guard lock(m_mutex);
        if (!secretOf(user)) {
            return refusal(m_secretKey, ErrorCode::UnknownUser, "The user is unknown",
                           "UnknownUserException");
        }
        id = m_transactions.open({user, body.value("params")["hrpsk"].toString()}, now());
    }
    announceCode(user);
    // Until a page sets a title, the web view reports its address as the title, and the client
    // takes a title with the word "token" for the end of the sign-in. No address here contains that
    // word.
    return success(m_secretKey, {{"webURI", baseUrl + "/signin/" + id}});
}

Answer SignIn::credentials(const QJsonObject& body)
{
    const std::lock_guard lock(m_mutex);
    const auto who = m_transactions.redeem(body.value("accessToken").toString(), now());
    if (!who) {
        return refusal(m_secretKey, ErrorCode::UnknownAccessToken,
                       "The access token is unknown or used up", "InvalidAccessTokenException");
    }
    QJsonObject result{{"systemToken", m_options.systemToken}, {"username", who->user}};
    // The device checks codes with this secret when it cannot reach the service. A device that
    // already holds it does not get it again.
    const QByteArray secret = encodeBase32(*secretOf(who->user));
    if (who->heldSecret != QString::fromLatin1(fingerprint(secret)))
        result.insert("erpsk", QString::fromLatin1(sealText(secret, m_secretKey)));
    return success(m_secretKey, result);
}

Answer SignIn::companyData(const QString& baseUrl) const
{
    return success(m_secretKey,
                   {{"applicationName", "Windows sign-in"},
                    {"companyName", m_options.companyName},
                    {"companyLogo", baseUrl + QLatin1String(kLogoPath)},
                    {"korvexBranding", "Protected by Korvex"},
                    {"helpPrompt", "Need help?"},
                    {"helpMsg", "Call the help desk of " + m_options.companyName + '.'},
                    {"helpLink1", "https://help.example/sign-in"},
                    {"helpLink2", "https://help.example/recovery-code"}});
}

Answer SignIn::companyLogo() const
{
    const QByteArray image =
        m_options.companyLogo.isEmpty() ? resource("company_logo.png") : m_options.companyLogo;
    return {.contentType = QMimeDatabase().mimeTypeForData(image).name().toUtf8(), .body = image};
}

Answer SignIn::page(const QString& id)
{
    std::optional<QString> user;
    {
        const std::lock_guard lock(m_mutex);
        user = m_transactions.userOf(id, now());
    }
    if (!user)
        return notFound();
    // The user's name comes last, because it may contain anything, a placeholder included.
    QString html = QString::fromUtf8(resource("page/signin.html"));
    html.replace("{{company}}", m_options.companyName.toHtmlEscaped());
    html.replace("{{user}}", user->toHtmlEscaped());
    return {.contentType = "text/html; charset=utf-8",
            .body = html.toUtf8(),
            .headers = {{"Content-Security-Policy", kPagePolicy}}};
}

Answer SignIn::enterCode(const QString& id, const QByteArray& body)
{
    const QString code = QJsonDocument::fromJson(body).object().value("code").toString();
    std::optional<QString> user;
    Transactions::CodeResult result;
    {
        const std::lock_guard lock(m_mutex);
        user = m_transactions.userOf(id, now());
        if (!user) {
            return pageJson(410, {{"error", "This sign-in is over. Close this window and sign in "
                                            "again."}});
        }
        // Unlike RFC 6238 asks, a code may be used twice while it is valid, because test runs and
        // demonstrations sign the same user in several times within 30 s.
        result = m_transactions.enterCode(id, totpMatches(*secretOf(*user), now(), code));
    }
    if (!result.accessToken.isEmpty())
        return pageJson(200, {{"accessToken", result.accessToken}});
    if (result.attemptsLeft == 0) {
        return pageJson(403, {{"error", "Too many wrong codes. Close this window and sign in "
                                        "again."},
                              {"attemptsLeft", 0}});
    }
    announceCode(*user);
    const QString error = QStringLiteral("That code is not right. Check your app and try again. "
                                         "%1 %2 left.")
                              .arg(result.attemptsLeft)
                              .arg(result.attemptsLeft == 1 ? "attempt" : "attempts");
    return pageJson(403, {{"error", error}, {"attemptsLeft", result.attemptsLeft}});
}

void SignIn::addUser(const QString& name, const QByteArray& totpSecret)
{
    const std::lock_guard lock(m_mutex);
    m_users.insert(name, totpSecret);
}

QString SignIn::currentCode(const QString& user)
{
    const std::lock_guard lock(m_mutex);
    const std::optional<QByteArray> secret = secretOf(user);
    return secret ? totpCode(*secret, now()) : QString();
}

std::optional<QByteArray> SignIn::secretOf(const QString& user)
{
    auto found = m_users.constFind(user);
    if (found == m_users.constEnd()) {
        if (!m_options.openEnrollment)
            return std::nullopt;
        found = m_users.insert(user, randomBytes(kTotpSecretBytes));
    }
    return *found;
}

void SignIn::announceCode(const QString& user)
{
    if (m_options.codeReady)
        m_options.codeReady(user, currentCode(user));
}

qint64 SignIn::now() const
{
    using namespace std::chrono;
    return m_options.clock ? m_options.clock()
                           : duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace korvex::mfa_service
