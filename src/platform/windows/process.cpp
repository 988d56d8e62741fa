#include "platform/process.h"

#include <QProcess>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <windows.h>

namespace korvex::platform {

quint64 currentProcessId()
{
    return GetCurrentProcessId();
}

quint64 currentThreadId()
{
    return GetCurrentThreadId();
}

void terminateProcess(int exitCode)
{
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    // Only reached if the system refused; the process must still not go on.
    std::abort();
}

void setNativeArguments(QProcess& process, const QString& arguments)
{
    process.setNativeArguments(arguments);
}

void reserveStandardStreams()
{
    // The C library gives the next file the lowest free number. A file that gets the number of the
    // standard output becomes the standard output.
    constexpr int kErrors = 2;
    int descriptor = 0;
    errno_t failure = 0;
    do
        failure = _sopen_s(&descriptor, "NUL", _O_RDWR | _O_NOINHERIT, _SH_DENYNO, 0);
    while (failure == 0 && descriptor <= kErrors);
    if (failure == 0)
        _close(descriptor);
}

void writeStandardOutput(const QByteArray& text)
{
    // A logon process has no standard output. Failures are ignored: the text is also in the log.
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (output == nullptr || output == INVALID_HANDLE_VALUE)
        return;
    DWORD written = 0;
    WriteFile(output, text.constData(), static_cast<DWORD>(text.size()), &written, nullptr);
}

} // namespace korvex::platform
