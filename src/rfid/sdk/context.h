#pragma once

#include "core/non_movable_copyable.h"
#include "platform/smart_cards.h"

#include <memory>

/// Internal to the readers, which share it.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
namespace korvex::rfid::sdk::__ {

/// A PC/SC context, released with its last owner.
class Context : private NonMovableCopyable
{
public:
    /// Nothing when the smart-card service is not there.
    static std::shared_ptr<const Context> establish()
    {
        const auto handle = platform::pcsc::establishContext();
        return handle ? std::make_shared<const Context>(*handle) : nullptr;
    }

    explicit Context(platform::pcsc::Context handle)
        : m_handle(handle)
    {}
    ~Context() { platform::pcsc::releaseContext(m_handle); }

    platform::pcsc::Context handle() const { return m_handle; }

private:
    platform::pcsc::Context m_handle;
};

} // namespace korvex::rfid::sdk::__
