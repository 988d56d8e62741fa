#pragma once

#include <QByteArray>

namespace korvex {

/// The largest logo, in bytes and in pixels a side; decoded it takes 16 MiB.
constexpr int kMaxLogoSize = 1024 * 1024;
constexpr int kMaxLogoEdge = 2048;

/// The format of a logo, "png" or "jpg", which is also the ending of its file's name; empty when
/// the bytes are no logo or cannot be decoded. Other formats never reach Qt, which would try every
/// image plug-in that is installed.
QByteArray logoFormat(const QByteArray& bytes);

} // namespace korvex
