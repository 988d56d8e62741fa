#include "rfid/slot_record.h"

#include "core/log.h"

#include <QtEndian>
#include <array>
#include <limits>
#include <stdexcept>

namespace korvex::rfid {

namespace {

constexpr quint16 kMagic = 0x4B56;
constexpr quint16 kVersion = 1;
constexpr int kLengthOffset = 8;

template <typename Number>
Number numberAt(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<Number>(bytes.constData() + offset);
}

template <typename Number>
void append(QByteArray& bytes, Number number)
{
    const Number ordered = qToLittleEndian(number);
    bytes.append(reinterpret_cast<const char*>(&ordered), sizeof(ordered));
}

constexpr std::array<quint32, 256> crcTable()
{
    std::array<quint32, 256> table{};
    for (quint32 index = 0; index < table.size(); ++index) {
        quint32 value = index;
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
        table[index] = value;
    }
    return table;
}

} // namespace

quint32 crc32(const QByteArray& bytes)
{
    static constexpr auto kTable = crcTable();
    quint32 crc = 0xFFFFFFFF;
    for (const char byte : bytes)
        crc = (crc >> 8) ^ kTable[(crc ^ static_cast<quint8>(byte)) & 0xFF];
    return ~crc;
}

QByteArray encodeSlotRecord(const QByteArray& payload)
{
    if (payload.size() > std::numeric_limits<quint16>::max())
        throw std::length_error("payload too long for a slot record");
    QByteArray record;
    append(record, kMagic);
    append(record, kVersion);
    append(record, crc32(payload));
    append(record, static_cast<quint16>(payload.size()));
    return record + payload;
}

std::optional<QByteArray> decodeSlotRecord(const QByteArray& record)
{
    // A record has at least one byte of payload.
    if (record.size() <= kSlotHeaderSize || numberAt<quint16>(record, 0) != kMagic ||
        numberAt<quint16>(record, 2) != kVersion)
        return std::nullopt;
    const auto storedCrc = numberAt<quint32>(record, 4);
    const auto storedSize = numberAt<quint16>(record, kLengthOffset);
    QByteArray payload = record.mid(kSlotHeaderSize);
    const quint32 crc = crc32(payload);
    if (payload.size() == storedSize && crc == storedCrc)
        return payload;
    logger().log(1, QStringLiteral("Failed to deserialize data. size: %1 (expected %2), "
                                   "checksum: %3 (expected %4)")
                        .arg(payload.size())
                        .arg(storedSize)
                        .arg(crc)
                        .arg(storedCrc));
    return std::nullopt;
}

QByteArray slotRecordOf(const QByteArray& dataArea)
{
    if (dataArea.size() < kSlotHeaderSize)
        return dataArea;
    const int size = kSlotHeaderSize + numberAt<quint16>(dataArea, kLengthOffset);
    return size <= dataArea.size() ? dataArea.left(size) : dataArea;
}

} // namespace korvex::rfid
