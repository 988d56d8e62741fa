#pragma once

#include "rfid/card_manager.h"
#include "rfid/sdk/card_mifare_classic.h"

#include <functional>
#include <memory>
#include <vector>

namespace korvex::rfid {

/// Slots are the sectors of a card but the first, which is the manufacturer's. A slot is the
/// program's own when its key A is the card's key, which is worked out from the card's identifier;
/// it is free when its key A is the transport key. Nothing else marks it.
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
    /// A key for a card, six bytes; none when it cannot be worked out, so that no
    /// key is ever made from nothing.
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
