#pragma once

#include <QByteArray>

namespace korvex::mfa_service {

/// The text in which a small secret travels to a device that knows `secretKey`: AES-256-CBC, then
/// HMAC-SHA-256 over the two Base64 texts, in Base64 of a JSON object. Ends the program when
/// libcrypto fails.
QByteArray sealText(const QByteArray& plain, const QByteArray& secretKey);

/// By this a device names the secret that it holds: the first seven hexadecimal digits, in lower
/// case, of the secret's SHA-256.
QByteArray fingerprint(const QByteArray& secret);

} // namespace korvex::mfa_service
