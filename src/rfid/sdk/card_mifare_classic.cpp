#include "rfid/sdk/card_mifare_classic.h"

namespace korvex::rfid::sdk {

namespace {

constexpr int kKeySize = 6;

} // namespace

bool CardMifareClassic::loadKey(const QByteArray& key, quint8 number, bool isVolatile)
{
    QByteArray command = QByteArray::fromHex(isVolatile ? "FF8200" : "FF8220");
    command += static_cast<char>(number);
    command += static_cast<char>(kKeySize);
    command += key.left(kKeySize).leftJustified(kKeySize, '\0');
    return exchange(command).has_value();
}

bool CardMifareClassic::authenticate(const KeyReference& key, quint8 block)
{
    QByteArray command = QByteArray::fromHex("FF860000050100");
    command += static_cast<char>(block);
    command += key.type == KeyType::A ? '\x60' : '\x61';
    command += static_cast<char>(key.number);
    return exchange(command).has_value();
}

} // namespace korvex::rfid::sdk
