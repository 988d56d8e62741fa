#pragma once

#include <QByteArray>
#include <functional>
#include <memory>

namespace korvex {
class UserRegistryData;
}

namespace korvex::otp {

/// Where an offline secret that has just been opened goes.
class OTPManager
{
public:
    explicit OTPManager(std::shared_ptr<const UserRegistryData> data);

    /// Stores the secret that it is called with, for the account; true when it was stored. Outlives
    /// this object.
    std::function<bool(const QByteArray&)> setOtpSecret() const;

private:
    std::shared_ptr<const UserRegistryData> m_data;
};

} // namespace korvex::otp
