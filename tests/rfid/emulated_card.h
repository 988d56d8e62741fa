#pragma once

#include "rfid/sdk/card_factory.h"
#include "rfid/sdk/card_mifare_classic.h"
#include "virtual_card/card.h"

#include <QByteArray>
#include <memory>

namespace korvex::test {

/// The emulated card, reached without a reader.
class EmulatedConnection final : public rfid::sdk::CardConnection
{
public:
    explicit EmulatedConnection(virtual_card::Card& card)
        : m_card(card)
    {}

    std::optional<QByteArray> transmit(const QByteArray& command) override
    {
        return m_card.transmit(command);
    }
    std::optional<QByteArray> transmitInTransaction(const QByteArray& command) override
    {
        return transmit(command);
    }

private:
    virtual_card::Card& m_card;
};

/// A card fresh from the factory, of a type that the emulation knows by this name.
inline std::unique_ptr<virtual_card::Card> factoryCard(const char* type = "classic-1k")
{
    return *virtual_card::Card::create(
        {.type = *virtual_card::cardType(type), .uid = QByteArray::fromHex("04A1B2C3")});
}

/// The product's card object for it.
inline std::shared_ptr<rfid::sdk::Card> opened(virtual_card::Card& card, rfid::sdk::CardType type)
{
    return rfid::sdk::makeCard({std::make_unique<EmulatedConnection>(card), "emulated", card.atr()},
                               type);
}

/// The sixteen-byte blocks of a sector in a card's image.
inline QByteArray sectorOf(const QByteArray& image, int sector)
{
    return image.mid(sector * 64, 64);
}

} // namespace korvex::test
