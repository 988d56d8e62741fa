#include "otp/base32.h"

#include "core/secret.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace korvex::otp {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
constexpr int kMaximumSize = 100000;
constexpr quint8 kNoDigit = 0xff;

constexpr std::array<quint8, 256> kDigits = [] {
    std::array<quint8, 256> digits{};
    digits.fill(kNoDigit);
    for (size_t i = 0; i < kAlphabet.size(); ++i)
        digits[static_cast<quint8>(kAlphabet[i])] = static_cast<quint8>(i);
    return digits;
}();

} // namespace

QByteArray decodeBase32(const QByteArray& text)
{
    const int size = std::min(text.size(), kMaximumSize);
    QByteArray bytes;
    // At once, so that growing leaves no copies of a secret behind.
    bytes.reserve(size * 5 / 8);
    quint32 pending = 0;
    int bits = 0;
    for (int i = 0; i < size && text[i] != '='; ++i) {
        const quint8 digit = kDigits[static_cast<quint8>(text[i])];
        if (digit == kNoDigit) {
            wipe(bytes);
            return {};
        }
        pending = pending << 5 | digit;
        bits += 5;
        if (bits < 8)
            continue;
        bits -= 8;
        bytes.append(static_cast<char>(pending >> bits & 0xff));
    }
    return bytes;
}

} // namespace korvex::otp
