#include "rfid/slot_record.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    using namespace korvex::rfid;
    const QByteArray input = fuzz::bytesOf(data, size);
    // What decodes is exactly what would be written for it, at the start of the area.
    const auto payload = decodeSlotRecord(slotRecordOf(input));
    fuzz::require(!payload || input.startsWith(encodeSlotRecord(*payload)));
    // And what is written decodes, whatever stands behind it.
    if (!input.isEmpty() && input.size() <= 0xFFFF)
        fuzz::require(decodeSlotRecord(slotRecordOf(encodeSlotRecord(input) + input)) == input);
    return 0;
}
