#pragma once

#include <QByteArray>

namespace korvex::otp {

/// Base32 of RFC 4648 section 6, upper case only. The first '=' ends the text, bits that fill no
/// whole byte are dropped, and what follows the first 100000 characters is not looked at. Any other
/// character outside the alphabet gives an empty result. The caller wipes the result.
QByteArray decodeBase32(const QByteArray& text);

} // namespace korvex::otp
