#pragma once

#include <QByteArray>
#include <array>
#include <optional>

namespace korvex::virtual_card {

constexpr int kBlockSize = 16;
constexpr int kBlocksPerSector = 4;
constexpr int kKeySize = 6;

/// The two keys of a sector, with the numbers that authentication commands use.
enum class Key : quint8 { A = 0x60, B = 0x61 };

/// Who may do something with a block.
enum class By : quint8 { Never = 0, A = 1, B = 2, Either = 3 };
bool allows(By who, Key key);

struct DataRights
{
    By read;
    By write;
};

struct TrailerRights
{
    By writeKeyA; ///< nobody ever reads it
    By readBits;
    By writeBits;
    By readKeyB;
    By writeKeyB;
};

/// What a sector's trailer says about the sector: MF1S50yyX data sheet, 8.7.
class AccessConditions
{
public:
    /// Nothing when the bits and their inverted copy differ; such a sector is blocked for good.
    static std::optional<AccessConditions> of(const QByteArray& trailer);

    /// `block` counts within the sector, 0 to 2.
    const DataRights& data(int block) const;
    const TrailerRights& trailer() const;

private:
    std::array<quint8, kBlocksPerSector> m_bits{}; ///< C1 C2 C3 per block
};

} // namespace korvex::virtual_card
