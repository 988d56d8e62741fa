#pragma once

#include "rfid/sdk/card.h"

#include <memory>

namespace korvex::rfid::sdk {

/// Makes the card object for the kind that the answer to reset names. A card that is not recognised
/// is logged and becomes a CardUnknown.
std::unique_ptr<Card> makeCard(CardParts parts, CardType type);

} // namespace korvex::rfid::sdk
