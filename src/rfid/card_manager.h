#pragma once

#include "core/error.h"

#include <QByteArray>
#include <QVector>

namespace korvex::rfid {

/// A slot that belongs to the program, and its payload.
struct Slot
{
    quint8 number;
    QByteArray payload;
};

/// Keeps records in the slots of a card. Every operation blocks; not for the GUI thread.
class CardManager
{
public:
    virtual ~CardManager() = default;

    /// Opens a slot that belongs to the program; false for any other slot.
    virtual bool authenticateSlot(quint8 slot) = 0;
    /// The slots that belong to the program, in increasing order, without damaged ones.
    virtual QVector<Slot> readSlots() = 0;
    /// The first free slot, opened for writing. Errors NoFreeSlot, CardRemoved.
    [[nodiscard]] virtual Result<quint8> findFreeSlot() = 0;
    /// The free slots, in increasing order.
    virtual QVector<quint8> freeSlots() = 0;
    /// Writes a payload of 1 to slotSize() bytes into an opened slot and protects the slot. Error
    /// SlotNotWritten.
    [[nodiscard]] virtual Result<void> writeSlot(quint8 slot, const QByteArray& payload) = 0;
    /// The largest payload in bytes; 0 or less when the card has no room for one.
    virtual int slotSize() const = 0;
    /// Gives an opened slot the card key, so that it belongs to the program.
    virtual bool protectSlot(quint8 slot) = 0;
    /// Erases an opened slot and makes it free again.
    virtual bool releaseSlot(quint8 slot) = 0;
    virtual bool cardPresent() = 0;
};

} // namespace korvex::rfid
