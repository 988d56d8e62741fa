#include "otp/otp_manager.h"

#include "otp/offline_secret.h"

#include <utility>

namespace korvex::otp {

OTPManager::OTPManager(std::shared_ptr<const UserRegistryData> data)
    : m_data(std::move(data))
{}

std::function<bool(const QByteArray&)> OTPManager::setOtpSecret() const
{
    return [data = m_data](const QByteArray& secret) { return storeOtpSecret(data.get(), secret); };
}

} // namespace korvex::otp
