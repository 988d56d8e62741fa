#pragma once

#include "rfid/sdk/card_connection.h"
#include "rfid/sdk/card_mifare_plus.h"

#include <QByteArray>
#include <optional>

namespace korvex::rfid::sdk {

/// Identifies a card of the Plus family that speaks T=1, by its native commands. Nothing when the
/// card is of another family or its size cannot be found out.
///
/// Writes nothing to the card. Asks for the version, which cards from EV1 on have, and begins the
/// authentication with AES keys, which a card answers with a challenge when it knows the key.
std::optional<CardMifarePlus::CardInfo> probeMifarePlus(CardConnection& connection,
                                                        const QByteArray& atr);

} // namespace korvex::rfid::sdk
