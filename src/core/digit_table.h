#pragma once

#include <QtGlobal>
#include <array>
#include <string_view>

namespace korvex {

constexpr quint8 kNoDigit = 0xff;

/// The value of each character as a digit, which is its place in `alphabet` (at most 255
/// characters); kNoDigit for every other character.
constexpr std::array<quint8, 256> digitTable(std::string_view alphabet)
{
    std::array<quint8, 256> digits{};
    digits.fill(kNoDigit);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        digits[static_cast<quint8>(alphabet[i])] = static_cast<quint8>(i);
    return digits;
}

} // namespace korvex
