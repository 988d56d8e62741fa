#pragma once

namespace korvex {

/// Runs a sign-in with the credential provider's JSON text (null counts as empty); the verdict 1, 0
/// or -1. An unexpected fault is logged and denies.
int executeSignIn(const wchar_t* json) noexcept;

} // namespace korvex
