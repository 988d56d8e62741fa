#pragma once

#include "core/non_movable_copyable.h"
#include "rfid/sdk/card_connection.h"
#include "rfid/sdk/card_response_parser.h"
#include "rfid/sdk/card_type.h"

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>

namespace korvex::rfid::sdk {

/// How a card's memory is divided; all zero when that is not modelled.
struct Geometry
{
    quint8 sectors = 0;
    quint8 blocksPerSector = 0;
    quint8 blockSize = 0; ///< bytes
};

/// What a card object is made from. The card becomes the only owner of the connection.
struct CardParts
{
    std::unique_ptr<CardConnection> connection;
    QString readerName;
    QByteArray atr;
};

enum class KeyType : quint8 { A = 0, B = 1 };

/// A key that was loaded into the reader.
struct KeyReference
{
    KeyType type;
    quint8 number;                    ///< its number in the reader's memory
    QByteArray key;                   ///< six bytes
    const CardConnection* connection; ///< on which it was loaded
};

/// One opened card. Its commands are the pseudo-APDUs of PC/SC part 3 for storage cards; each is
/// sent in a transaction of its own and succeeds when the answer's status is 90 00. On failure the
/// result is false, empty or nothing. Not for the GUI thread: every command blocks.
class Card : private NonMovableCopyable
{
public:
    virtual ~Card() = default;

    /// Loads a key (six bytes; a shorter one is filled with zeros) into the reader's memory. A card
    /// that takes no keys sends nothing and returns false.
    virtual bool loadKey(const QByteArray& key, quint8 number, bool isVolatile) = 0;
    /// Opens the sector of a block with a loaded key.
    virtual bool authenticate(const KeyReference& key, quint8 block) = 0;

    /// Loads a key into the reader's volatile memory, or into the non-volatile one when the reader
    /// refuses. Nothing for a card that takes no keys.
    std::optional<KeyReference> loadKeyAnywhere(const QByteArray& key, KeyType type, quint8 number);

    /// The unique identifier; empty when it cannot be read.
    QByteArray readUid() const;
    /// At most `length` bytes of a block; empty on failure.
    QByteArray readBlock(quint8 block, int length) const;
    /// Writes a block, padded with zeros. Refuses data that is longer than a block and, with
    /// `protectTrailers`, the last block of a sector; nothing is sent then.
    bool writeBlock(quint8 block, const QByteArray& data, bool protectTrailers);
    /// Writes data into the blocks of an authenticated sector, from its first block on, and pads
    /// the last one with zeros. Refuses more than sectorCapacity() bytes.
    bool writeSectorData(quint8 sector, const QByteArray& data);

    QString displayName() const { return cardTypeName(m_type); }
    const QString& readerName() const { return m_parts.readerName; }
    const QByteArray& atr() const { return m_parts.atr; }
    CardType type() const { return m_type; }
    const Geometry& geometry() const { return m_geometry; }
    /// The bytes of all blocks of a sector except the last.
    int sectorCapacity() const { return (m_geometry.blocksPerSector - 1) * m_geometry.blockSize; }
    const CardConnection* connection() const { return m_parts.connection.get(); }

protected:
    /// Families name it but never run it: the class of a card's kind constructs this virtual base.
    Card() = default;
    Card(CardParts parts, CardType type, Geometry geometry);

    /// Sends a command and returns the data of an answer that reports success.
    std::optional<QByteArray> exchange(const QByteArray& command) const;

private:
    CardParts m_parts;
    CardType m_type = CardType::Unknown;
    std::unique_ptr<const CardResponseParser> m_parser = std::make_unique<ISO7816Parser>();
    Geometry m_geometry;
};

} // namespace korvex::rfid::sdk
