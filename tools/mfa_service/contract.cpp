#include "contract.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <algorithm>
#include <array>
#include <openssl/evp.h>
#include <openssl/hmac.h>

namespace korvex::mfa_service {

namespace {

struct Member
{
    QLatin1String name;
    QJsonValue::Type type = QJsonValue::Undefined;
};

template <std::size_t N>
bool hasExactly(const QJsonObject& object, const std::array<Member, N>& members)
{
    return object.size() == static_cast<int>(N) &&
           std::all_of(members.begin(), members.end(), [&object](const Member& member) {
               return object.value(member.name).type() == member.type;
           });
}

bool isInitParams(QJsonObject params)
{
    static const std::array<Member, 4> kMembers{{{QLatin1String("appVer"), QJsonValue::String},
                                                 {QLatin1String("hostName"), QJsonValue::String},
                                                 {QLatin1String("hrpsk"), QJsonValue::String},
                                                 {QLatin1String("rdpMode"), QJsonValue::Bool}}};
    static const QRegularExpression kHrpsk(QStringLiteral("\\A([0-9a-f]{7})?\\z"));
    // The client's address belongs to remote-desktop sign-ins, and only to those.
    const QJsonValue userIp = params.take(QLatin1String("userIP"));
    const bool isRemote = !userIp.isUndefined();
    return hasExactly(params, kMembers) &&
           params.value(QLatin1String("rdpMode")).toBool() == isRemote &&
           isRemote == !userIp.toString().isEmpty() &&
           kHrpsk.match(params.value(QLatin1String("hrpsk")).toString()).hasMatch();
}

} // namespace

QByteArray signature(const QByteArray& secretKey, const QByteArray& body)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    HMAC(EVP_sha256(), secretKey.constData(), secretKey.size(),
         reinterpret_cast<const unsigned char*>(body.constData()),
         static_cast<std::size_t>(body.size()), digest.data(), &size);
    return QByteArray(reinterpret_cast<const char*>(digest.data()), static_cast<int>(size)).toHex();
}

Answer signedAnswer(const QByteArray& secretKey, int status, const QByteArray& body)
{
    return {.status = status,
            .contentType = "application/json",
            .body = body,
            .headers = {{kSignatureHeader, signature(secretKey, body)}}};
}

Answer success(const QByteArray& secretKey, const QJsonObject& result)
{
    const QJsonObject envelope{{"status", "OK"}, {"result", result}};
    return signedAnswer(secretKey, 200, QJsonDocument(envelope).toJson(QJsonDocument::Compact));
}

Answer failure(const QByteArray& secretKey, int code, const QString& details,
               const QString& exception)
{
    const QJsonObject result{{"code", code}, {"details", details}, {"exception", exception}};
    const QJsonObject envelope{{"status", "ERROR"}, {"result", result}};
    return signedAnswer(secretKey, 400, QJsonDocument(envelope).toJson(QJsonDocument::Compact));
}

bool isInitBody(const QJsonObject& body)
{
    static const std::array<Member, 3> kMembers{{{QLatin1String("systemToken"), QJsonValue::String},
                                                 {QLatin1String("username"), QJsonValue::String},
                                                 {QLatin1String("params"), QJsonValue::Object}}};
    return hasExactly(body, kMembers) &&
           !body.value(QLatin1String("username")).toString().isEmpty() &&
           isInitParams(body.value(QLatin1String("params")).toObject());
}

bool isCredentialsBody(const QJsonObject& body)
{
    static const std::array<Member, 2> kMembers{
        {{QLatin1String("systemToken"), QJsonValue::String},
         {QLatin1String("accessToken"), QJsonValue::String}}};
    return hasExactly(body, kMembers);
}

bool isCompanyDataBody(const QJsonObject& body)
{
    static const std::array<Member, 1> kMembers{
        {{QLatin1String("systemToken"), QJsonValue::String}}};
    return hasExactly(body, kMembers);
}

} // namespace korvex::mfa_service
