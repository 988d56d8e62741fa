#pragma once

#include <QString>
#include <winscard.h>

// Reader names as the PC/SC daemon has them: UTF-8.
namespace korvex::platform::pcsc {

using NameUnit = char;
using NativeReaderState = SCARD_READERSTATE;

inline auto nativeName(const QString& name)
{
    return name.toUtf8();
}
inline QString nameOf(const NameUnit* name)
{
    return QString::fromUtf8(name);
}
inline const NameUnit* pointerTo(const QByteArray& name)
{
    return name.constData();
}

constexpr auto listReadersCall = SCardListReaders;
constexpr auto statusChangeCall = SCardGetStatusChange;
constexpr auto connectCall = SCardConnect;
constexpr auto statusCall = SCardStatus;

} // namespace korvex::platform::pcsc
