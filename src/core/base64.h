#pragma once

#include <QByteArray>

namespace korvex {

/// Base64 of RFC 4648 section 4: standard alphabet, padded, no line breaks.
QByteArray encodeBase64(const QByteArray& bytes);

/// Strict decoding: the length is a multiple of four, no character is outside the alphabet, and
/// padding is at the end only. Anything else gives an empty result and a log line.
QByteArray decodeBase64(const QByteArray& text);

} // namespace korvex
