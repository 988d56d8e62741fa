#include "context/public_address.h"

#include "context/ip_address.h"
#include "rest/rest_client.h"

#include <QJsonDocument>
#include <QVariant>
#include <optional>

namespace korvex {

namespace {

constexpr qint64 kMaxEchoSize = qint64{4} * 1024;
constexpr qint64 kMaxInformationSize = qint64{64} * 1024;

/// The question is how the machine itself is seen, not its proxy.
Result<QByteArray> askAsMachine(const QString& url, qint64 maxAnswerSize)
{
    return KorvexRestAPIClient::get(url, maxAnswerSize, KorvexRestAPIClient::Route::System);
}

std::optional<QString> askForText(const QString& url)
{
    const auto body = askAsMachine(url, kMaxEchoSize);
    return body ? std::optional(QString::fromUtf8(*body).trimmed()) : std::nullopt;
}

bool saysAnAddress(const QString& url)
{
    // The first answer only shows that the service is up; the second has to be an address.
    if (!askForText(url))
        return false;
    const auto text = askForText(url);
    return text && isValidIpAddress(*text);
}

} // namespace

const AddressServices& addressServices()
{
    static const AddressServices services{
        QStringLiteral(KORVEX_PUBLIC_ADDRESS_SERVICES).split(QLatin1Char(' ')),
        QStringLiteral(KORVEX_ADDRESS_INFORMATION_SERVICE)};
    return services;
}

QString getPublicIp(const AddressServices& services)
{
    for (const QString& url : services.echo)
        if (saysAnAddress(url))
            return askForText(url).value_or(QString());
    return {};
}

QString getPublicAsn(const AddressServices& services)
{
    // Deliberately also without an address: the service is then asked about an empty one.
    const auto body =
        askAsMachine(services.information.arg(getPublicIp(services)), kMaxInformationSize);
    if (!body)
        return {};
    const QJsonDocument answer = QJsonDocument::fromJson(*body);
    if (!answer.isObject())
        return {};
    const QVariant asn = answer[QLatin1String("connection")][QLatin1String("asn")].toVariant();
    return QString::number(asn.toUInt());
}

} // namespace korvex
