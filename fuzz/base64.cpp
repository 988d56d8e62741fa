#include "core/base64.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    const QByteArray input = fuzz::bytesOf(data, size);
    fuzz::require(decodeBase64(encodeBase64(input)) == input);

    // Qt's decoder gives the same bytes for every text that this one accepts.
    const QByteArray decoded = decodeBase64(input);
    if (!decoded.isEmpty()) {
        const auto theirs =
            QByteArray::fromBase64Encoding(input, QByteArray::AbortOnBase64DecodingErrors);
        fuzz::require(theirs && *theirs == decoded);
    }
    return 0;
}
