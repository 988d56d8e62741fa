#include "access_conditions.h"

namespace korvex::virtual_card {

namespace {

using enum By;

// Both tables are indexed by C1 C2 C3.
constexpr std::array<DataRights, 8> kData = {{
    {Either, Either}, // 000, as delivered
    {Either, Never},  // 001, value block: decrement only
    {Either, Never},  // 010
    {B, B},           // 011
    {Either, B},      // 100
    {B, Never},       // 101
    {Either, B},      // 110, value block
    {Never, Never},   // 111
}};

constexpr std::array<TrailerRights, 8> kTrailer = {{
    // key A: write; access bits: read, write; key B: read, write
    {A, A, Never, A, A},                  // 000
    {A, A, A, A, A},                      // 001, as delivered
    {Never, A, Never, A, Never},          // 010
    {B, Either, B, Never, B},             // 011
    {B, Either, Never, Never, B},         // 100
    {Never, Either, B, Never, Never},     // 101
    {Never, Either, Never, Never, Never}, // 110
    {Never, Either, Never, Never, Never}, // 111
}};

} // namespace

bool allows(By who, Key key)
{
    const By asked = key == Key::A ? A : B;
    return (static_cast<int>(who) & static_cast<int>(asked)) != 0;
}

std::optional<AccessConditions> AccessConditions::of(const QByteArray& trailer)
{
    const auto byte = [&](int index) { return static_cast<quint8>(trailer[index]); };
    const int c1 = byte(7) >> 4;
    const int c2 = byte(8) & 0x0f;
    const int c3 = byte(8) >> 4;
    if (byte(6) != ((~c2 & 0x0f) << 4 | (~c1 & 0x0f)) || (byte(7) & 0x0f) != (~c3 & 0x0f))
        return std::nullopt;

    AccessConditions conditions;
    for (std::size_t block = 0; block < kBlocksPerSector; ++block) {
        const auto bit = [block](int nibble) { return nibble >> block & 1; };
        conditions.m_bits[block] = static_cast<quint8>(bit(c1) << 2 | bit(c2) << 1 | bit(c3));
    }
    return conditions;
}

const DataRights& AccessConditions::data(int block) const
{
    return kData[m_bits[static_cast<std::size_t>(block)]];
}

const TrailerRights& AccessConditions::trailer() const
{
    return kTrailer[m_bits[kBlocksPerSector - 1]];
}

} // namespace korvex::virtual_card
