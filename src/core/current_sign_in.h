#pragma once

#include "core/logon_input.h"
#include "core/user_registry_data.h"

#include <memory>

namespace korvex {

// What everything in a sign-in shares, kept for the process.

/// Fills the input anew, looks its account's SID up, and forgets the sign-in before. Blocks while
/// the system is asked. Has to return before anything reads the input.
void beginSignIn(LogonInput input);

/// The input of the current sign-in.
const LogonInput& logonInput();

/// The data of the account that signs in, made on first use in each sign-in. Any thread.
std::shared_ptr<const UserRegistryData> userRegistryData();

} // namespace korvex
