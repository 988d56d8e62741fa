#pragma once

#include "rfid/sdk/card_mifare_classic.h"

#include <QString>
#include <optional>

namespace korvex::rfid::sdk {

/// Cards of the Plus family. At security levels 1 and 2 they work as Classic cards do.
class CardMifarePlus : public virtual Card
{
public:
    enum class Model : quint8 { S = 0, SE = 1, X = 2, None = 255 };
    enum class Size : quint8 { _1K = 1, _2K = 2, _4K = 4, _8K = 8 };
    enum class SL : quint8 { SL0 = 0, SL1 = 1, SL2 = 2, SL3 = 3 };
    enum class EV : quint8 { EV0 = 0, EV1 = 1, EV2 = 2 };

    /// What a probe of the card found out.
    struct CardInfo
    {
        Model model; ///< None when the answer to reset names none
        Size size;
        SL level;
        EV generation;

        /// "Mifare Plus X _2K SL3 EV0", for the log.
        QString text() const;
    };

    /// Nothing when the card was known without a probe.
    const std::optional<CardInfo>& information() const { return m_information; }
    void setInformation(const CardInfo& information) { m_information = information; }

private:
    std::optional<CardInfo> m_information;
};

/// Security levels 1 and 2.
class CardMifarePlusWithKeys : public CardMifarePlus, public CardMifareClassic
{};

using CardMifarePlusSL1_2K =
    CardOf<CardMifarePlusWithKeys, CardType::MifarePlusSl1_2K, Geometry{32, 4, 16}>;
using CardMifarePlusSL2_2K =
    CardOf<CardMifarePlusWithKeys, CardType::MifarePlusSl2_2K, Geometry{32, 4, 16}>;
// The 4K cards mix sectors of 4 and of 16 blocks, which Geometry cannot describe.
using CardMifarePlusSL1_4K = CardOf<CardMifarePlusWithKeys, CardType::MifarePlusSl1_4K>;
using CardMifarePlusSL2_4K = CardOf<CardMifarePlusWithKeys, CardType::MifarePlusSl2_4K>;

/// Security levels 0 and 3, which know no six-byte keys.
class CardMifarePlusWithoutKeys : public CardMifarePlus
{
public:
    bool loadKey(const QByteArray&, quint8, bool) override { return false; }
    bool authenticate(const KeyReference&, quint8) override { return false; }
};

using CardMifarePlusSL0_1K = CardOf<CardMifarePlusWithoutKeys, CardType::MifarePlusSl0_1K>;
using CardMifarePlusSL0_2K = CardOf<CardMifarePlusWithoutKeys, CardType::MifarePlusSl0_2K>;
using CardMifarePlusSL0_4K = CardOf<CardMifarePlusWithoutKeys, CardType::MifarePlusSl0_4K>;
using CardMifarePlusSL3_1K = CardOf<CardMifarePlusWithoutKeys, CardType::MifarePlusSl3_1K>;
using CardMifarePlusSL3_2K = CardOf<CardMifarePlusWithoutKeys, CardType::MifarePlusSl3_2K>;
using CardMifarePlusSL3_4K = CardOf<CardMifarePlusWithoutKeys, CardType::MifarePlusSl3_4K>;

} // namespace korvex::rfid::sdk
