#pragma once

#include "rfid/sdk/card.h"

#include <utility>

namespace korvex::rfid::sdk {

/// A card of which at most the kind is known.
class CardUnknown final : public Card
{
public:
    CardUnknown(CardParts parts, CardType type)
        : Card(std::move(parts), type, {})
    {}

    bool loadKey(const QByteArray&, quint8, bool) override { return false; }
    bool authenticate(const KeyReference&, quint8) override { return false; }
};

} // namespace korvex::rfid::sdk
