#include "rfid/sdk/atr.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    using namespace korvex::rfid::sdk;
    const QByteArray atr = fuzz::bytesOf(data, size);
    const auto type = parseAtr(atr);
    // Every answer in the form of a contactless card offers T=1, so that the card can be probed.
    fuzz::require(!type || offersT1(atr));
    fuzz::require(!type || *type <= CardType::Unknown);
    return 0;
}
