#include "rfid/sdk/atr.h"

#include "core/log.h"
#include "rfid/sdk/hex_text.h"

#include <bit>

namespace korvex::rfid::sdk {

namespace {

quint8 byteAt(const QByteArray& bytes, int index)
{
    return static_cast<quint8>(bytes.at(index));
}

CardType typeOfName(quint16 name)
{
    switch (name) {
    case 0x0001:
        return CardType::MifareClassic1K;
    case 0x0002:
        return CardType::MifareClassic4K;
    case 0x0003:
        return CardType::MifareUltralight;
    case 0x0026:
        return CardType::MifareMini;
    case 0x0030:
        return CardType::TopazAndJewel;
    case 0x0036:
        return CardType::MifarePlusSl1_2K;
    case 0x0037:
        return CardType::MifarePlusSl1_4K;
    case 0x0038:
        return CardType::MifarePlusSl2_2K;
    case 0x0039:
        return CardType::MifarePlusSl2_4K;
    case 0x003A:
        return CardType::MifareUltralightC;
    case 0x003B:
        return CardType::FeliCa;
    case 0xFF28:
        return CardType::Jcop30;
    default:
        return CardType::Unknown;
    }
}

CardType typeOfStorageCard(const QByteArray& atr)
{
    const QByteArray provider = QByteArray::fromHex("A000000306");
    const int found = atr.indexOf(provider);
    const int standard = found + provider.size(); // of the standard byte; the name follows
    if (found < 0 || atr.size() - standard < 4)
        return CardType::Unknown;
    // The second byte of the name and the byte after it, low byte first. For a name 00 NN followed
    // by 00 this is NN. JCOP 30 is recognised only when FF follows.
    return typeOfName(
        static_cast<quint16>(byteAt(atr, standard + 2) | byteAt(atr, standard + 3) << 8));
}

} // namespace

std::optional<CardType> parseAtr(const QByteArray& atr)
{
    logger().log(2, QStringLiteral("Parsing ATR response '%1'").arg(hexText(atr)));
    if (atr.size() < 4 || byteAt(atr, 0) != 0x3B || byteAt(atr, 1) >> 4 != 0x8 ||
        byteAt(atr, 2) != 0x80 || byteAt(atr, 3) != 0x01)
        return std::nullopt;
    const int historicalBytes = byteAt(atr, 1) & 0x0F;
    if (historicalBytes == 1)
        return atr.size() == 6 && byteAt(atr, 4) == 0x80 && byteAt(atr, 5) == 0x80
                   ? CardType::DesFire
                   : CardType::Unknown;
    return historicalBytes == 15 ? typeOfStorageCard(atr) : CardType::Unknown;
}

bool offersT1(const QByteArray& atr)
{
    int index = 1; // of T0, then of each TD
    while (index < atr.size()) {
        const auto indicator = static_cast<quint8>(byteAt(atr, index) >> 4);
        constexpr quint8 kNextIndicator = 0x8;
        if ((indicator & kNextIndicator) == 0)
            return false;
        // TD follows those of TA, TB and TC that are present.
        index += std::popcount(static_cast<quint8>(indicator & 0x7)) + 1;
        if (index < atr.size() && (byteAt(atr, index) & 0x0F) == 1)
            return true;
    }
    return false;
}

} // namespace korvex::rfid::sdk
