#include "otp/base32.h"

#include "core/digit_table.h"
#include "core/secret.h"

#include <algorithm>

namespace korvex::otp {

namespace {

constexpr int kMaximumSize = 100000;

constexpr auto kDigits = digitTable("ABCDEFGHIJKLMNOPQRSTUVWXYZ234567");

} // namespace

QByteArray decodeBase32(const QByteArray& text)
{
    const int size = std::min(text.size(), kMaximumSize);
    QByteArray bytes;
    // Reserve all of it now: growing would leave copies of a secret in memory.
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
