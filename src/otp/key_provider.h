#pragma once

#include <QByteArray>
#include <memory>

namespace korvex {
class UserRegistryData;
}

namespace korvex::otp {

/// Where a one-time password's key comes from: the offline secret of an account.
class KeyProvider
{
public:
    explicit KeyProvider(std::shared_ptr<const UserRegistryData> data);
    virtual ~KeyProvider() = default;
    KeyProvider(const KeyProvider&) = delete;
    KeyProvider& operator=(const KeyProvider&) = delete;

    /// The key's bytes, read from storage each time and not kept. Empty when there is no secret or
    /// it is not base32 text. The caller wipes the result.
    virtual QByteArray key() const;

private:
    std::shared_ptr<const UserRegistryData> m_data;
};

} // namespace korvex::otp
