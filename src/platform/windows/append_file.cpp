#include "platform/append_file.h"

#include "platform/windows/wide_text.h"

#include <QDir>
#include <QFile>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace korvex::platform {

bool openForAppending(QFile& file)
{
    // With only the right to append, the system puts every write at the end.
    const QString path = QDir::toNativeSeparators(file.fileName());
    const HANDLE handle =
        CreateFileW(wideText(path), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    const int descriptor =
        _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_APPEND | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0) {
        CloseHandle(handle);
        return false;
    }
    // Not in text mode, in which Qt and the C library write in pieces. appendText() converts the
    // line ends.
    if (file.open(descriptor, QIODevice::Append | QIODevice::Unbuffered,
                  QFileDevice::AutoCloseHandle))
        return true;
    _close(descriptor);
    return false;
}

bool appendText(QFile& file, const QByteArray& text)
{
    QByteArray lines = text;
    lines.replace("\n", "\r\n");
    return file.write(lines) == lines.size();
}

} // namespace korvex::platform
