#pragma once

#include "rfid/sdk/card_of.h"

namespace korvex::rfid::sdk {

/// Cards whose sectors open with a six-byte key.
class CardMifareClassic : public virtual Card
{
public:
    bool loadKey(const QByteArray& key, quint8 number, bool isVolatile) override;
    bool authenticate(const KeyReference& key, quint8 block) override;
};

using CardMifareClassic_1K =
    CardOf<CardMifareClassic, CardType::MifareClassic1K, Geometry{16, 4, 16}>;
/// No answer to reset names this kind, so no such card is ever made.
using CardMifareClassic_2K = CardOf<CardMifareClassic, CardType::MifareClassic2K>;

// These have no geometry: the 4K card mixes sectors of 4 and of 16 blocks, and the slot store
// supports none of them.
using CardMifareClassic_4K = CardOf<CardMifareClassic, CardType::MifareClassic4K>;
using CardMifareMini = CardOf<CardMifareClassic, CardType::MifareMini>;
using CardMifareUltralight = CardOf<CardMifareClassic, CardType::MifareUltralight>;
using CardMifareUltralightC = CardOf<CardMifareClassic, CardType::MifareUltralightC>;

} // namespace korvex::rfid::sdk
