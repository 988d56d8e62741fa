#include "rfid/sdk/mifare_plus_probe.h"

#include <algorithm>
#include <array>

namespace korvex::rfid::sdk {

namespace {

using Plus = CardMifarePlus;

/// The hardware part of the answer to "get version" (NXP AN10833, MIFARE type identification
/// procedure): vendor, type, subtype, major and minor version, storage size, protocol.
struct Version
{
    Plus::EV generation;
    std::optional<Plus::Size> size;
};

std::optional<Plus::Size> sizeOf(quint8 storage)
{
    // The upper seven bits are the exponent of a power of two, in bytes.
    switch (storage >> 1) {
    case 10:
        return Plus::Size::_1K;
    case 11:
        return Plus::Size::_2K;
    case 12:
        return Plus::Size::_4K;
    case 13:
        return Plus::Size::_8K;
    default:
        return std::nullopt;
    }
}

std::optional<Version> askVersion(CardConnection& connection)
{
    const auto answer = connection.transmit(QByteArray::fromHex("60"));
    // AF, "more to come", and the hardware part. The rest of the version is not asked for.
    if (!answer || !answer->startsWith(QByteArray::fromHex("AF0402")) || answer->size() < 8)
        return std::nullopt;
    const auto at = [&answer](int index) { return static_cast<quint8>(answer->at(index)); };
    const std::optional<Plus::Size> size = sizeOf(at(6));
    switch (at(4)) {
    case 0x11:
        return Version{Plus::EV::EV1, size};
    case 0x22:
        return Version{Plus::EV::EV2, size};
    default:
        return std::nullopt;
    }
}

Plus::Model modelOf(const QByteArray& atr)
{
    struct Row
    {
        const char* pattern;
        Plus::Model model;
    };
    static constexpr std::array kRows = {
        Row{"C1052F2F0035C7", Plus::Model::S},
        Row{"C1052F2F01BCD6", Plus::Model::X},
        Row{"C105213000F6D1", Plus::Model::SE},
        Row{"C105213010F6D1", Plus::Model::SE},
    };
    const auto row = std::find_if(kRows.begin(), kRows.end(), [&atr](const Row& each) {
        return atr.contains(QByteArray::fromHex(each.pattern));
    });
    return row != kRows.end() ? row->model : Plus::Model::None;
}

/// Starts an authentication and does not finish it. A card that has the key sends a challenge of 16
/// bytes after the status 90. The key numbers are those of the Plus data sheets (MF1SPLUSx0y1,
/// MF1P(H)x1).
bool knowsKey(CardConnection& connection, quint16 key)
{
    QByteArray command = QByteArray::fromHex("70");
    command += static_cast<char>(key & 0xFF);
    command += static_cast<char>(key >> 8);
    command += '\0'; // no capabilities of the reader follow
    const auto answer = connection.transmit(command);
    return answer && answer->size() == 17 && answer->startsWith('\x90');
}

/// The number of a sector's AES key A.
constexpr quint16 sectorKey(int sector)
{
    return static_cast<quint16>(0x4000 + 2 * sector);
}

/// The size follows from the last sector that has a key.
Plus::Size sizeBySectors(CardConnection& connection)
{
    if (knowsKey(connection, sectorKey(32)))
        return Plus::Size::_4K;
    return knowsKey(connection, sectorKey(16)) ? Plus::Size::_2K : Plus::Size::_1K;
}

/// At level 3 the sectors have AES keys.
bool isLevel3(CardConnection& connection)
{
    return knowsKey(connection, sectorKey(0));
}

/// At level 0 the card has only the key that proves its origin.
bool isLevel0(CardConnection& connection)
{
    constexpr quint16 kOriginalityKey = 0x8000;
    return knowsKey(connection, kOriginalityKey);
}

} // namespace

std::optional<Plus::CardInfo> probeMifarePlus(CardConnection& connection, const QByteArray& atr)
{
    const auto version = askVersion(connection);
    const Plus::EV generation = version ? version->generation : Plus::EV::EV0;
    const bool level3 = isLevel3(connection);
    if (!level3 && !isLevel0(connection))
        return std::nullopt;
    const Plus::SL level = level3 ? Plus::SL::SL3 : Plus::SL::SL0;
    const Plus::Model model = modelOf(atr);
    // This model exists in one size only.
    if (model == Plus::Model::SE)
        return Plus::CardInfo{model, Plus::Size::_1K, level, generation};
    if (version && version->size)
        return Plus::CardInfo{model, *version->size, level, generation};
    // Without sector keys and without a version the size cannot be found out.
    if (!level3)
        return std::nullopt;
    return Plus::CardInfo{model, sizeBySectors(connection), level, generation};
}

} // namespace korvex::rfid::sdk
