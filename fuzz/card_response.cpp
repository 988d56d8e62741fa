#include "rfid/sdk/card_response_parser.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    const QByteArray response = fuzz::bytesOf(data, size);
    const auto parsed = ISO7816Parser().parse(response);
    // Only the status is removed.
    fuzz::require(!parsed || *parsed + QByteArray("\x90\x00", 2) == response);
    return 0;
}
