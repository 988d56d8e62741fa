#pragma once

#include <QByteArray>
#include <optional>

namespace korvex::platform {

/// Encrypts bytes so that only the current user on this machine can read them again.
///
/// Windows: CryptProtectData without description, entropy or prompt, flags 0. Linux: AES-256-GCM
/// under a random key of the user's own, in a file of mode 0600 below the root folder.
/// Nothing on any failure.
std::optional<QByteArray> protectData(const QByteArray& plain);

/// The bytes that protectData() was given. Nothing when the blob was altered, cut, made by another
/// user or is not such a blob. The caller wipes the result after use.
std::optional<QByteArray> unprotectData(const QByteArray& blob);

} // namespace korvex::platform
