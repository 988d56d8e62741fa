#include "platform/process.h"

#include <QProcess>
#include <cstdlib>
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
    // Standard handles are not numbers here that another file could be given.
}

void writeStandardOutput(const QByteArray& text)
{
    // None in a logon process. Failures are ignored: the text is also in the log.
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (output == nullptr || output == INVALID_HANDLE_VALUE)
        return;
    DWORD written = 0;
    WriteFile(output, text.constData(), static_cast<DWORD>(text.size()), &written, nullptr);
}

} // namespace korvex::platform
