#pragma once

#include "core/error.h"

#include <QByteArray>
#include <QVector>

namespace korvex::rfid {

/// A slot of the program's own and its payload.
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

    /// Opens a slot of the program's own; false for any other.
    virtual bool authenticateSlot(quint8 slot) = 0;
    /// The readable slots of the program's own, in increasing order. A damaged one is left out.
    virtual QVector<Slot> readSlots() = 0;
    /// The first free slot, opened for writing. Errors NoFreeSlot, CardRemoved.
    [[nodiscard]] virtual Result<quint8> findFreeSlot() = 0;
    /// The free slots, in increasing order.
    virtual QVector<quint8> freeSlots() = 0;
    /// Writes a payload of at most slotSize() bytes into a slot that has been opened, and protects
    /// it. Error SlotNotWritten.
    [[nodiscard]] virtual Result<void> writeSlot(quint8 slot, const QByteArray& payload) = 0;
    /// The bytes that a payload may have; not positive when the card has no room for any.
    virtual int slotSize() const = 0;
    /// Gives an opened slot the program's key.
    virtual bool protectSlot(quint8 slot) = 0;
    /// Erases an opened slot and gives it back.
    virtual bool releaseSlot(quint8 slot) = 0;
    virtual bool cardPresent() = 0;
};

} // namespace korvex::rfid
