#include "rfid/sdk/card_mifare_plus.h"

#include <magic_enum/magic_enum.hpp>

namespace korvex::rfid::sdk {

namespace {

template <typename Enumeration>
QString nameOf(Enumeration value)
{
    const auto name = magic_enum::enum_name(value);
    return QString::fromLatin1(name.data(), static_cast<int>(name.size()));
}

} // namespace

QString CardMifarePlus::CardInfo::text() const
{
    return QStringLiteral("Mifare Plus %1 %2 %3 %4")
        .arg(nameOf(model), nameOf(size), nameOf(level), nameOf(generation));
}

} // namespace korvex::rfid::sdk
