#include "rfid/sdk/card_type.h"

#include <array>

namespace korvex::rfid::sdk {

QString cardTypeName(CardType type)
{
    // In the order of the numbers.
    static constexpr std::array kNames = {
        "Mifare Classic 1K",
        "Mifare Classic 2K",
        "Mifare Classic 4K",
        "Mifare Ultralight",
        "Mifare Ultralight C",
        "Mifare Mini",
        "Mifare Plus SE 1K SL0",
        "Mifare Plus 2K SL0",
        "Mifare Plus 4K SL0",
        "Mifare Plus 2K SL1",
        "Mifare Plus 2K SL2",
        "Mifare Plus 4K SL1",
        "Mifare Plus 4K SL2",
        "Mifare Plus SE 1K SL3",
        "Mifare Plus 2K SL3",
        "Mifare Plus 4K SL3",
        "DESFire",
        "Topaz and Jewel",
        "FeliCa",
        "JCOP 30",
    };
    const auto number = static_cast<std::size_t>(type);
    return QString::fromLatin1(number < kNames.size() ? kNames[number] : "<Unknown>");
}

} // namespace korvex::rfid::sdk
