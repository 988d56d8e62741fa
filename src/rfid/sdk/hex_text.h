#pragma once

#include <QByteArray>
#include <QString>

namespace korvex::rfid::sdk {

/// Two upper-case hex digits for each byte, joined by colons: "3B:8F".
inline QString hexText(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toHex(':').toUpper());
}

} // namespace korvex::rfid::sdk
