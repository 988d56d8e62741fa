#include "rest/service_envelope.h"

#include "core/log.h"

#include <QJsonDocument>
#include <algorithm>
#include <array>

namespace korvex {

namespace {

constexpr std::array kServiceCodes = {
    ErrorCode::InvalidSignature,   ErrorCode::InvalidCredentials, ErrorCode::ServiceReserved,
    ErrorCode::ServiceBypass,      ErrorCode::WrongApplication81, ErrorCode::WrongApplication82,
    ErrorCode::WrongApplication83, ErrorCode::WrongApplication84,
};

QString text(const QJsonObject& object, const char* name)
{
    return object.value(QLatin1String(name)).toString();
}

} // namespace

Result<QJsonObject> readServiceEnvelope(const QByteArray& body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return failure(ErrorCode::NotJsonObject);

    const QJsonObject answer = document.object();
    QJsonObject result = answer.value(QLatin1String("result")).toObject();
    if (text(answer, "status") == QLatin1String("OK") && !result.isEmpty())
        return result;

    const int code = result.value(QLatin1String("code")).toInt();
    if (std::ranges::find(kServiceCodes, static_cast<ErrorCode>(code)) != kServiceCodes.end())
        return failure(static_cast<ErrorCode>(code), text(result, "details"));
    logger().logWarning(0, QStringLiteral("Unknown API exception: %1 '%2'")
                               .arg(QString::number(code), text(result, "exception")));
    return failure(ErrorCode::UnknownServiceError);
}

} // namespace korvex
