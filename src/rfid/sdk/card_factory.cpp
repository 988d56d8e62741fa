#include "rfid/sdk/card_factory.h"

#include "core/log.h"
#include "rfid/sdk/atr.h"
#include "rfid/sdk/card_mifare_plus.h"
#include "rfid/sdk/card_unknown.h"
#include "rfid/sdk/hex_text.h"
#include "rfid/sdk/mifare_plus_probe.h"

#include <utility>

namespace korvex::rfid::sdk {

namespace {

template <typename Kind>
std::unique_ptr<Card> probed(CardParts parts, const CardMifarePlus::CardInfo& information)
{
    auto card = std::make_unique<Kind>(std::move(parts));
    card->setInformation(information);
    return card;
}

std::unique_ptr<Card> makeProbedCard(CardParts parts, CardType type,
                                     const CardMifarePlus::CardInfo& information)
{
    using Size = CardMifarePlus::Size;
    logger().log(2, information.text());
    const bool level0 = information.level == CardMifarePlus::SL::SL0;
    switch (information.size) {
    case Size::_1K:
        return level0 ? probed<CardMifarePlusSL0_1K>(std::move(parts), information)
                      : probed<CardMifarePlusSL3_1K>(std::move(parts), information);
    case Size::_2K:
        return level0 ? probed<CardMifarePlusSL0_2K>(std::move(parts), information)
                      : probed<CardMifarePlusSL3_2K>(std::move(parts), information);
    case Size::_4K:
        return level0 ? probed<CardMifarePlusSL0_4K>(std::move(parts), information)
                      : probed<CardMifarePlusSL3_4K>(std::move(parts), information);
    case Size::_8K:
        break;
    }
    return std::make_unique<CardUnknown>(std::move(parts), type);
}

} // namespace

std::unique_ptr<Card> makeCard(CardParts parts, CardType type)
{
    switch (type) {
    case CardType::MifareClassic1K:
        return std::make_unique<CardMifareClassic_1K>(std::move(parts));
    case CardType::MifareClassic4K:
        return std::make_unique<CardMifareClassic_4K>(std::move(parts));
    case CardType::MifareUltralight:
        return std::make_unique<CardMifareUltralight>(std::move(parts));
    case CardType::MifareUltralightC:
        return std::make_unique<CardMifareUltralightC>(std::move(parts));
    case CardType::MifareMini:
        return std::make_unique<CardMifareMini>(std::move(parts));
    case CardType::MifarePlusSl1_2K:
        return std::make_unique<CardMifarePlusSL1_2K>(std::move(parts));
    case CardType::MifarePlusSl2_2K:
        return std::make_unique<CardMifarePlusSL2_2K>(std::move(parts));
    case CardType::MifarePlusSl1_4K:
        return std::make_unique<CardMifarePlusSL1_4K>(std::move(parts));
    case CardType::MifarePlusSl2_4K:
        return std::make_unique<CardMifarePlusSL2_4K>(std::move(parts));
    default:
        break;
    }
    if (parts.connection && offersT1(parts.atr))
        if (const auto information = probeMifarePlus(*parts.connection, parts.atr))
            return makeProbedCard(std::move(parts), type, *information);
    logger().logWarning(
        0, QStringLiteral("Could not recognize authenticator, ATR: '%1'").arg(hexText(parts.atr)));
    return std::make_unique<CardUnknown>(std::move(parts), CardType::Unknown);
}

} // namespace korvex::rfid::sdk
