#pragma once

#include "rfid/sdk/card.h"

#include <utility>

namespace korvex::rfid::sdk {

/// The card of one kind: works as its family does and has its own geometry.
template <typename Family, CardType kind, Geometry geometry = Geometry{}>
class CardOf final : public Family
{
public:
    explicit CardOf(CardParts parts)
        : Card(std::move(parts), kind, geometry)
    {}
};

} // namespace korvex::rfid::sdk
