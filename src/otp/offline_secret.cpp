#include "otp/offline_secret.h"

#include "core/base64.h"
#include "core/log.h"
#include "core/secret.h"
#include "core/user_registry_data.h"
#include "platform/data_protection.h"

namespace korvex::otp {

namespace {

constexpr int kMaximumSize = 10000;

QString valueName()
{
    return QStringLiteral("OTP_SECRET");
}

bool isWithinBounds(const QByteArray& bytes)
{
    return !bytes.isEmpty() && bytes.size() <= kMaximumSize;
}

} // namespace

QString protectSecret(const QByteArray& secret)
{
    // A value that would read back as no secret must not replace a good one.
    if (!isWithinBounds(secret))
        return {};
    const auto blob = platform::protectData(secret);
    if (!blob || !isWithinBounds(*blob))
        return {};
    return QString::fromLatin1(encodeBase64(*blob));
}

std::optional<QByteArray> unprotectSecret(const QString& stored)
{
    const QByteArray blob = decodeBase64(stored.toLatin1());
    if (!isWithinBounds(blob))
        return std::nullopt;
    auto secret = platform::unprotectData(blob);
    if (secret && !isWithinBounds(*secret)) {
        wipe(*secret);
        return std::nullopt;
    }
    return secret;
}

QByteArray loadOtpSecret(const UserRegistryData* data)
{
    if (data == nullptr || !data->key())
        return {};
    const auto stored = data->key()->readString(valueName());
    return stored ? unprotectSecret(*stored).value_or(QByteArray()) : QByteArray();
}

bool storeOtpSecret(const UserRegistryData* data, const QByteArray& secret)
{
    if (data == nullptr) {
        logger().logError(QStringLiteral("UserRegistryData is null!"));
        return false;
    }
    const QString stored = protectSecret(secret);
    return !stored.isEmpty() && data->key() && data->key()->writeString(valueName(), stored);
}

} // namespace korvex::otp
