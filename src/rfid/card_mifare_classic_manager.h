#pragma once

#include "rfid/card_manager.h"
#include "rfid/sdk/card_mifare_classic.h"

#include <functional>
#include <memory>
#include <vector>

namespace korvex::rfid {

/// The slots are the sectors of a card except the first, which is the manufacturer's. A slot
/// belongs to the program when its key A is the card key, which is derived from the card's
/// identifier. It is free when its key A is the transport key. There is no other mark.
class CardMifareClassicManager final : public CardManager
{
public:
    explicit CardMifareClassicManager(std::shared_ptr<sdk::CardMifareClassic> card);

    bool authenticateSlot(quint8 slot) override;
    QVector<Slot> readSlots() override;
    Result<quint8> findFreeSlot() override;
    QVector<quint8> freeSlots() override;
    Result<void> writeSlot(quint8 slot, const QByteArray& payload) override;
    int slotSize() const override;
    bool protectSlot(quint8 slot) override;
    bool releaseSlot(quint8 slot) override;
    bool cardPresent() override;

private:
    /// The key for a card, six bytes. Empty when the card's identifier cannot be read: a key must
    /// never be derived from an empty one.
    using KeyProvider = std::function<QByteArray(const sdk::CardMifareClassic&)>;

    bool isSlot(quint8 number) const;
    bool openWith(quint8 slot, const QByteArray& key);
    bool openIfFree(quint8 slot);
    QByteArray readDataArea(quint8 slot);
    bool writeTrailer(quint8 slot, const QByteArray& keyA);

    std::shared_ptr<sdk::CardMifareClassic> m_card;
    std::vector<KeyProvider> m_keyProviders; ///< tried in order
};

} // namespace korvex::rfid
