#pragma once

#include "platform/windows/wide_text.h"

#include <QString>
#include <windows.h>
// After windows.h, which it relies on.
#include <winscard.h>

// Reader names as Windows has them: wide.
namespace korvex::platform::pcsc {

using NameUnit = wchar_t;
using NativeReaderState = SCARD_READERSTATEW;

inline const QString& nativeName(const QString& name)
{
    return name;
}
inline QString nameOf(const NameUnit* name)
{
    return QString::fromWCharArray(name);
}
inline const NameUnit* pointerTo(const QString& name)
{
    return wideText(name);
}

constexpr auto listReadersCall = SCardListReadersW;
constexpr auto statusChangeCall = SCardGetStatusChangeW;
constexpr auto connectCall = SCardConnectW;
constexpr auto statusCall = SCardStatusW;

} // namespace korvex::platform::pcsc
