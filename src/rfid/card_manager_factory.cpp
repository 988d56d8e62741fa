#include "rfid/card_manager_factory.h"

#include "rfid/card_mifare_classic_manager.h"

#include <utility>

namespace korvex::rfid {

Result<std::unique_ptr<CardManager>> makeCardManager(std::shared_ptr<sdk::Card> card)
{
    using sdk::CardType;
    const CardType type = card->type();
    // Only these kinds are supported, although others have sectors too.
    const bool isServed = type == CardType::MifareClassic1K || type == CardType::MifarePlusSl1_2K ||
                          type == CardType::MifarePlusSl1_4K;
    if (auto classic = std::dynamic_pointer_cast<sdk::CardMifareClassic>(card); isServed && classic)
        return std::make_unique<CardMifareClassicManager>(std::move(classic));
    return failure(ErrorCode::CardNotSupported,
                   QStringLiteral("'%1' is not supported").arg(card->displayName()));
}

} // namespace korvex::rfid
