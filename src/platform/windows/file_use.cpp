#include "platform/file_use.h"

#include "platform/windows/wide_text.h"

#include <QDir>
#include <windows.h>

namespace korvex::platform {

bool isFileOpen(const QString& path)
{
    // Exclusive access, which fails while any process has the file open.
    const HANDLE file = ::CreateFileW(wideText(QDir::toNativeSeparators(path)), GENERIC_READ, 0,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return ::GetLastError() == ERROR_SHARING_VIOLATION;
    ::CloseHandle(file);
    return false;
}

} // namespace korvex::platform
