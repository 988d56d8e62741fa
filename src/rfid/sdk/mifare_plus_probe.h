#pragma once

#include "rfid/sdk/card_connection.h"
#include "rfid/sdk/card_mifare_plus.h"

#include <QByteArray>
#include <optional>

namespace korvex::rfid::sdk {

/// Finds out what a card that speaks T=1 is of the Plus family, by its native commands; nothing
/// when it is none or its size stays unknown.
///
/// Writes nothing to the card. Asks for the version, which cards from EV1 on have, and begins the
/// authentication with AES keys, which a card answers with a challenge when it knows the key.
std::optional<CardMifarePlus::CardInfo> probeMifarePlus(CardConnection& connection,
                                                        const QByteArray& atr);

} // namespace korvex::rfid::sdk
