#include "otp/key_provider.h"

#include "core/secret.h"
#include "otp/base32.h"
#include "otp/offline_secret.h"

#include <utility>

namespace korvex::otp {

KeyProvider::KeyProvider(std::shared_ptr<const UserRegistryData> data)
    : m_data(std::move(data))
{}

QByteArray KeyProvider::key() const
{
    QByteArray text = loadOtpSecret(m_data.get());
    QByteArray key = decodeBase32(text);
    wipe(text);
    return key;
}

} // namespace korvex::otp
