#pragma once

#include "rfid/sdk/card_type.h"

#include <QByteArray>
#include <optional>

namespace korvex::rfid::sdk {

/// The kind of card that an answer to reset names (PC/SC part 3, storage cards: the registered
/// application provider A0 00 00 03 06, a standard byte and the card's name). Nothing when the
/// answer does not have the form of a contactless card's.
std::optional<CardType> parseAtr(const QByteArray& atr);

/// Whether the chain of interface bytes (ISO/IEC 7816-3) offers the protocol T=1.
bool offersT1(const QByteArray& atr);

} // namespace korvex::rfid::sdk
