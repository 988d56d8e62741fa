#include "core/base64.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    const QByteArray input = fuzz::bytesOf(data, size);
    fuzz::require(decodeBase64(encodeBase64(input)) == input);

    // Whatever this decoder accepts, Qt's decodes to the same.
    const QByteArray decoded = decodeBase64(input);
    if (!decoded.isEmpty()) {
        const auto theirs =
            QByteArray::fromBase64Encoding(input, QByteArray::AbortOnBase64DecodingErrors);
        fuzz::require(theirs && *theirs == decoded);
    }
    return 0;
}
