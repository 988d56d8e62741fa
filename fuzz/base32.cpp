#include "otp/base32.h"

#include "input.h"

namespace {

QByteArray encode(const QByteArray& bytes)
{
    QByteArray text;
    for (int bit = 0; bit < bytes.size() * 8; bit += 5) {
        int digit = 0;
        for (int i = bit; i < bit + 5; ++i)
            digit = digit << 1 | (i < bytes.size() * 8 ? bytes[i / 8] >> (7 - i % 8) & 1 : 0);
        text += "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567"[digit];
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    const QByteArray input = fuzz::bytesOf(data, size);
    fuzz::require(otp::decodeBase32(encode(input)) == input);

    // An accepted text is the encoding of the decoded bytes, except for the bits that are dropped.
    const QByteArray decoded = otp::decodeBase32(input);
    fuzz::require(decoded.isEmpty() || input.startsWith(encode(decoded).chopped(1)));
    return 0;
}
