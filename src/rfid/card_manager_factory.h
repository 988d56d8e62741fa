#pragma once

#include "core/error.h"
#include "rfid/card_manager.h"
#include "rfid/sdk/card.h"

#include <memory>

namespace korvex::rfid {

/// The slot store for a card. It serves Mifare Classic 1K, Mifare Plus 2K SL1 and Mifare Plus 4K
/// SL1 only. Error CardNotSupported for every other kind.
[[nodiscard]] Result<std::unique_ptr<CardManager>> makeCardManager(std::shared_ptr<sdk::Card> card);

} // namespace korvex::rfid
