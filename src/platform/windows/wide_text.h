#pragma once

#include <QString>

namespace korvex::platform {

/// The text as Win32 takes it; valid as long as `text` is and does not change.
inline const wchar_t* wideText(const QString& text)
{
    static_assert(sizeof(wchar_t) == sizeof(QChar));
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

} // namespace korvex::platform
