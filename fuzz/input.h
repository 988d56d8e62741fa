#pragma once

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace korvex::fuzz {

/// A copy in a buffer of exactly that size, so that a read beyond its end is found.
inline QByteArray bytesOf(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), static_cast<int>(size)};
}

/// Ends the run with a finding.
inline void require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace korvex::fuzz
