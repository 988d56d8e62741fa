#include "core/current_sign_in.h"

#include "core/account_sid.h"

#include <mutex>
#include <utility>

namespace korvex {

namespace {

LogonInput currentInput;

std::mutex dataMutex;
std::shared_ptr<const UserRegistryData> currentData;

} // namespace

void beginSignIn(LogonInput input)
{
    // An empty name is no account, though Windows would find one for it.
    input.sid = input.user.isEmpty() ? QString() : sidOf(input.user);
    currentInput = std::move(input);
    const std::lock_guard lock(dataMutex);
    currentData.reset();
}

const LogonInput& logonInput()
{
    return currentInput;
}

std::shared_ptr<const UserRegistryData> userRegistryData()
{
    const std::lock_guard lock(dataMutex);
    if (!currentData)
        currentData = std::make_shared<const UserRegistryData>(currentInput);
    return currentData;
}

} // namespace korvex
