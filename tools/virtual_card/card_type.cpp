#include "card_type.h"

#include <algorithm>

namespace korvex::virtual_card {

namespace {

constexpr quint8 kIso14443A = 0x03;
constexpr quint8 kFelica = 0x11;

} // namespace

QByteArray processorCardAtr(const QByteArray& historicalBytes)
{
    // TS, T0, then T=0 and T=1 announced without parameters of their own.
    QByteArray atr = QByteArray::fromHex("3b808001") + historicalBytes;
    atr[1] = static_cast<char>(0x80 | historicalBytes.size());
    char checksum = 0;
    for (const char byte : atr.mid(1))
        checksum = static_cast<char>(checksum ^ byte);
    return atr + checksum;
}

QByteArray storageCardAtr(quint8 standard, quint16 name, quint8 reserved)
{
    QByteArray historical = QByteArray::fromHex("804f0ca000000306");
    for (const int byte : {int{standard}, name >> 8, name & 0xff, int{reserved}, 0, 0, 0})
        historical.append(static_cast<char>(byte));
    return processorCardAtr(historical);
}

const std::vector<CardType>& cardTypes()
{
    static const std::vector<CardType> kTypes = {
        {"classic-1k", storageCardAtr(kIso14443A, 0x0001), 16},
        {"plus-2k-sl1", storageCardAtr(kIso14443A, 0x0036), 32},
        {"classic-4k", storageCardAtr(kIso14443A, 0x0002)},
        {"ultralight", storageCardAtr(kIso14443A, 0x0003)},
        {"ultralight-c", storageCardAtr(kIso14443A, 0x003a)},
        {"mini", storageCardAtr(kIso14443A, 0x0026)},
        {"plus-4k-sl1", storageCardAtr(kIso14443A, 0x0037)},
        {"plus-2k-sl2", storageCardAtr(kIso14443A, 0x0038)},
        {"plus-4k-sl2", storageCardAtr(kIso14443A, 0x0039)},
        {"topaz", storageCardAtr(kIso14443A, 0x0030)},
        {"felica", storageCardAtr(kFelica, 0x003b)},
        {"jcop-30", storageCardAtr(kIso14443A, 0xff28)},
        // Not as in the standard: some software reads the byte after the name as part of it.
        {"jcop-30-ff", storageCardAtr(kIso14443A, 0xff28, 0xff)},
        {"desfire", processorCardAtr(QByteArray::fromHex("80"))},
        // Levels 0 and 3 of Mifare Plus look alike: give them answers to tell them apart.
        {"plus-s", processorCardAtr(QByteArray::fromHex("c1052f2f0035c7"))},
        {"plus-x", processorCardAtr(QByteArray::fromHex("c1052f2f01bcd6"))},
        {"plus-se", processorCardAtr(QByteArray::fromHex("c1052130"
                                                         "00f6d1"))},
        {"plus-se-10", processorCardAtr(QByteArray::fromHex("c1052130"
                                                            "10f6d1"))},
        {"unknown", storageCardAtr(kIso14443A, 0x7fff)},
    };
    return kTypes;
}

std::optional<CardType> cardType(const QString& name)
{
    const auto& types = cardTypes();
    const auto found = std::find_if(types.begin(), types.end(),
                                    [&](const CardType& each) { return each.name == name; });
    return found == types.end() ? std::nullopt : std::optional{*found};
}

} // namespace korvex::virtual_card
