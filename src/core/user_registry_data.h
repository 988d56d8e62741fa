#pragma once

#include "platform/registry.h"

#include <QString>
#include <memory>
#include <optional>

namespace korvex {

/// The registry data of one account: the key of its SID below the data key. An account without a
/// SID has no key; then reads give nothing and nothing can be written.
class UserRegistryData
{
public:
    /// An empty account stands for "Administrator", on purpose.
    explicit UserRegistryData(const QString& account);

    const std::optional<platform::RegistryKey>& key() const { return m_key; }

private:
    std::optional<platform::RegistryKey> m_key;
};

/// The data of the account that signs in, made on first use in each sign-in. Any thread.
std::shared_ptr<const UserRegistryData> userRegistryData();

/// Makes the next userRegistryData() resolve the account anew.
void forgetUserRegistryData();

} // namespace korvex
