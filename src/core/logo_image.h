#pragma once

#include <QByteArray>

namespace korvex {

/// A logo is a PNG or JPEG of at most so many bytes and so many pixels a side: 16 MiB once decoded.
constexpr int kMaxLogoSize = 1024 * 1024;
constexpr int kMaxLogoEdge = 2048;

/// The format of a logo, "png" or "jpg", which is also the ending of its file's name; empty when
/// the bytes are none or cannot be decoded. Nothing else is even offered to Qt, which would ask
/// every image plug-in that is installed.
QByteArray logoFormat(const QByteArray& bytes);

} // namespace korvex
