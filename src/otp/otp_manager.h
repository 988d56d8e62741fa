#pragma once

#include <QByteArray>
#include <functional>
#include <memory>

namespace korvex {
class UserRegistryData;
}

namespace korvex::otp {

/// Stores the offline secret that the service has sent.
class OTPManager
{
public:
    explicit OTPManager(std::shared_ptr<const UserRegistryData> data);

    /// A function that stores a secret for the account and returns whether that worked. It may be
    /// called after the end of this object.
    std::function<bool(const QByteArray&)> setOtpSecret() const;

private:
    std::shared_ptr<const UserRegistryData> m_data;
};

} // namespace korvex::otp
