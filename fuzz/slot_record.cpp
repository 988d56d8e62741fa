#include "rfid/slot_record.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    using namespace korvex::rfid;
    const QByteArray input = fuzz::bytesOf(data, size);
    // An area that decodes starts with the record that would be written for its payload.
    const auto payload = decodeSlotRecord(slotRecordOf(input));
    fuzz::require(!payload || input.startsWith(encodeSlotRecord(*payload)));
    // A written record decodes, whatever follows it.
    if (!input.isEmpty() && input.size() <= 0xFFFF)
        fuzz::require(decodeSlotRecord(slotRecordOf(encodeSlotRecord(input) + input)) == input);
    return 0;
}
