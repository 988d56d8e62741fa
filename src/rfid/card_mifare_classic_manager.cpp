#include "rfid/card_mifare_classic_manager.h"

#include "rfid/slot_record.h"

#include <QCryptographicHash>
#include <utility>

namespace korvex::rfid {

namespace {

constexpr quint8 kKeyNumber = 0;
constexpr int kKeySize = 6;
constexpr int kTrailerSize = 16;

QByteArray transportKey()
{
    return QByteArray(kKeySize, '\xFF');
}

/// The key of the program's slots on this card. It is never stored but derived each time.
QByteArray cardKey(const sdk::CardMifareClassic& card)
{
    const QByteArray uid = card.readUid();
    if (uid.isEmpty())
        return {};
    constexpr int kNameSize = 7; // with its terminating zero
    return QCryptographicHash::hash(uid + QByteArray("Korvex", kNameSize), QCryptographicHash::Md5)
        .left(kKeySize);
}

} // namespace

CardMifareClassicManager::CardMifareClassicManager(std::shared_ptr<sdk::CardMifareClassic> card)
    : m_card(std::move(card))
    , m_keyProviders{cardKey}
{}

bool CardMifareClassicManager::authenticateSlot(quint8 slot)
{
    for (const KeyProvider& provider : m_keyProviders) {
        const QByteArray key = provider(*m_card);
        if (!key.isEmpty() && openWith(slot, key))
            return true;
    }
    return false;
}

QVector<Slot> CardMifareClassicManager::readSlots()
{
    QVector<Slot> found;
    for (quint8 slot = 1; isSlot(slot); ++slot) {
        if (!authenticateSlot(slot))
            continue;
        if (const auto payload = decodeSlotRecord(slotRecordOf(readDataArea(slot))))
            found.append({slot, *payload});
    }
    return found;
}

Result<quint8> CardMifareClassicManager::findFreeSlot()
{
    for (quint8 slot = 1; isSlot(slot); ++slot)
        if (openIfFree(slot))
            return slot;
    if (!cardPresent())
        return failure(ErrorCode::CardRemoved,
                       QStringLiteral("The RFID authenticator removed during free space scan"));
    return failure(ErrorCode::NoFreeSlot,
                   QStringLiteral("No space left on the RFID authenticator"));
}

QVector<quint8> CardMifareClassicManager::freeSlots()
{
    QVector<quint8> free;
    for (quint8 slot = 1; isSlot(slot); ++slot)
        if (openIfFree(slot))
            free.append(slot);
    return free;
}

Result<void> CardMifareClassicManager::writeSlot(quint8 slot, const QByteArray& payload)
{
    const QByteArray record = encodeSlotRecord(payload);
    const int capacity = m_card->sectorCapacity();
    // Write the whole area, so that nothing remains of a longer record. An empty payload is refused
    // because it would not read back.
    const bool written = !payload.isEmpty() && isSlot(slot) && record.size() <= capacity &&
                         m_card->writeSectorData(slot, record.leftJustified(capacity, '\0')) &&
                         protectSlot(slot);
    if (written)
        return {};
    return failure(ErrorCode::SlotNotWritten,
                   QStringLiteral("Failed to write data on the RFID authenticator, slot: '%1', "
                                  "data size: '%2'")
                       .arg(slot)
                       .arg(record.size()));
}

int CardMifareClassicManager::slotSize() const
{
    return static_cast<quint8>(m_card->sectorCapacity()) - kSlotHeaderSize;
}

bool CardMifareClassicManager::protectSlot(quint8 slot)
{
    const QByteArray key = cardKey(*m_card);
    return !key.isEmpty() && writeTrailer(slot, key);
}

bool CardMifareClassicManager::releaseSlot(quint8 slot)
{
    return isSlot(slot) &&
           m_card->writeSectorData(slot, QByteArray(m_card->sectorCapacity(), '\0')) &&
           writeTrailer(slot, transportKey());
}

bool CardMifareClassicManager::cardPresent()
{
    return !m_card->readUid().isEmpty();
}

/// The first sector is the manufacturer's.
bool CardMifareClassicManager::isSlot(quint8 number) const
{
    return number >= 1 && number < m_card->geometry().sectors;
}

bool CardMifareClassicManager::openWith(quint8 slot, const QByteArray& key)
{
    if (!isSlot(slot))
        return false;
    const auto reference = m_card->loadKeyAnywhere(key, sdk::KeyType::A, kKeyNumber);
    const auto block = static_cast<quint8>(slot * m_card->geometry().blocksPerSector);
    return reference && reference->connection == m_card->connection() &&
           m_card->authenticate(*reference, block);
}

bool CardMifareClassicManager::openIfFree(quint8 slot)
{
    return openWith(slot, transportKey());
}

/// Empty when a block cannot be read.
QByteArray CardMifareClassicManager::readDataArea(quint8 slot)
{
    const sdk::Geometry& geometry = m_card->geometry();
    QByteArray area;
    for (int index = 0; index < geometry.blocksPerSector - 1; ++index) {
        const auto block = static_cast<quint8>(slot * geometry.blocksPerSector + index);
        const QByteArray bytes = m_card->readBlock(block, geometry.blockSize);
        if (bytes.size() != geometry.blockSize)
            return {};
        area += bytes;
    }
    return area;
}

/// Writes the last block of a slot's sector. Its general-purpose byte is BA instead of the
/// factory's, also for a released slot: it marks the sectors that the program has used.
bool CardMifareClassicManager::writeTrailer(quint8 slot, const QByteArray& keyA)
{
    const sdk::Geometry& geometry = m_card->geometry();
    if (!isSlot(slot) || geometry.blockSize != kTrailerSize)
        return false;
    const auto block = static_cast<quint8>((slot + 1) * geometry.blocksPerSector - 1);
    const QByteArray trailer = keyA + QByteArray::fromHex("FF0780BA") + transportKey();
    return m_card->writeBlock(block, trailer, false);
}

} // namespace korvex::rfid
