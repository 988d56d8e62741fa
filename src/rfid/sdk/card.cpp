#include "rfid/sdk/card.h"

#include <algorithm>
#include <utility>

namespace korvex::rfid::sdk {

Card::Card(CardParts parts, CardType type, Geometry geometry)
    : m_parts(std::move(parts))
    , m_type(type)
    , m_geometry(geometry)
{}

std::optional<KeyReference> Card::loadKeyAnywhere(const QByteArray& key, KeyType type,
                                                  quint8 number)
{
    if (!loadKey(key, number, true) && !loadKey(key, number, false))
        return std::nullopt;
    return KeyReference{type, number, key, connection()};
}

QByteArray Card::readUid() const
{
    return exchange(QByteArray::fromHex("FFCA000000")).value_or(QByteArray());
}

QByteArray Card::readBlock(quint8 block, int length) const
{
    QByteArray command = QByteArray::fromHex("FFB000");
    command += static_cast<char>(block);
    command += static_cast<char>(std::min<int>(length, m_geometry.blockSize));
    return exchange(command).value_or(QByteArray());
}

bool Card::writeBlock(quint8 block, const QByteArray& data, bool protectTrailers)
{
    const int size = m_geometry.blockSize;
    const int blocks = m_geometry.blocksPerSector;
    if (blocks == 0 || data.size() > size || (protectTrailers && block % blocks == blocks - 1))
        return false;
    QByteArray command = QByteArray::fromHex("FFD600");
    command += static_cast<char>(block);
    command += static_cast<char>(size);
    command += data + QByteArray(size - data.size(), '\0');
    return exchange(command).has_value();
}

bool Card::writeSectorData(quint8 sector, const QByteArray& data)
{
    if (data.size() > sectorCapacity())
        return false;
    const int size = m_geometry.blockSize;
    int block = sector * m_geometry.blocksPerSector;
    for (int written = 0; written < data.size(); written += size, ++block)
        if (!writeBlock(static_cast<quint8>(block), data.mid(written, size), true))
            return false;
    return true;
}

std::optional<QByteArray> Card::exchange(const QByteArray& command) const
{
    if (!m_parts.connection)
        return std::nullopt;
    const auto response = m_parts.connection->transmitInTransaction(command);
    return response ? m_parser->parse(*response) : std::nullopt;
}

} // namespace korvex::rfid::sdk
