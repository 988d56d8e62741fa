#pragma once

#include "platform/registry.h"

#include <optional>

namespace korvex {

struct LogonInput;

/// The registry data of the account that signs in: the key of its SID below the data key. An
/// account without a SID has no key; then reads give nothing and nothing can be written.
class UserRegistryData
{
public:
    /// For an input without an account it is deliberately the data of "Administrator".
    explicit UserRegistryData(const LogonInput& input);

    const std::optional<platform::RegistryKey>& key() const { return m_key; }

private:
    std::optional<platform::RegistryKey> m_key;
};

} // namespace korvex
