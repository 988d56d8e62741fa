#include "otp/one_time_password.h"

#include <array>
#include <chrono>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

namespace korvex::otp::utils {

namespace {

std::optional<quint32> truncatedHmacSha1(const QByteArray& key, const QByteArray& message)
{
    if (key.isEmpty() || message.isEmpty())
        return std::nullopt;
    std::array<quint8, SHA_DIGEST_LENGTH> digest{};
    if (HMAC(EVP_sha1(), key.constData(), key.size(),
             reinterpret_cast<const unsigned char*>(message.constData()),
             static_cast<size_t>(message.size()), digest.data(), nullptr) == nullptr)
        return std::nullopt;
    const size_t offset = digest.back() & 0x0fU;
    const quint32 value = (digest[offset] & 0x7fU) << 24 | quint32{digest[offset + 1]} << 16 |
                          quint32{digest[offset + 2]} << 8 | quint32{digest[offset + 3]};
    OPENSSL_cleanse(digest.data(), digest.size());
    return value;
}

} // namespace

HmacAlgorithm GetHMACSha1Algorithm()
{
    return truncatedHmacSha1;
}

TimeProvider GetTimeProviderSec()
{
    return [] {
        using Ticks = std::chrono::duration<quint64, std::ratio<1, 10'000'000>>;
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<Ticks>(now).count() / Ticks::period::den;
    };
}

} // namespace korvex::otp::utils
