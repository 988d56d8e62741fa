#pragma once

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace korvex::fuzz {

/// A copy of its own size, so that reading beyond its end is seen.
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
