#pragma once

#include "rfid/sdk/card.h"

#include <memory>

namespace korvex::rfid::sdk {

/// The card object for the kind that the answer to reset tells; a card that stays unrecognised is
/// logged and becomes a CardUnknown.
std::unique_ptr<Card> makeCard(CardParts parts, CardType type);

} // namespace korvex::rfid::sdk
