#pragma once

#include <QByteArray>
#include <optional>

namespace korvex::rfid {

// The content of a slot: ten bytes of header (magic 0x4B56, version 1, CRC-32 and length of the
// payload, little-endian) and the payload.

constexpr int kSlotHeaderSize = 10;

/// The record of a payload. Throws std::length_error for a payload over 65535 bytes.
QByteArray encodeSlotRecord(const QByteArray& payload);

/// The payload of a record. Nothing when the bytes are not a record, or when the record is damaged,
/// which is logged. Nothing may follow the payload.
std::optional<QByteArray> decodeSlotRecord(const QByteArray& record);

/// The record at the start of a sector's data area, without the zeros behind it: its header tells
/// the length. When that length does not fit, the result is the whole area, which does not decode.
QByteArray slotRecordOf(const QByteArray& dataArea);

/// The CRC-32 of ISO 3309 and ITU-T V.42: reflected polynomial 0xEDB88320.
quint32 crc32(const QByteArray& bytes);

} // namespace korvex::rfid
