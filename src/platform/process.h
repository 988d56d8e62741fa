#pragma once

#include <QByteArray>
#include <QtGlobal>

class QProcess;
class QString;

namespace korvex::platform {

quint64 currentProcessId();
quint64 currentThreadId();

/// Ends the whole process at once: no destructor, no exit handler, no flush.
[[noreturn]] void terminateProcess(int exitCode);

/// Passes a program its argument string unchanged, without quoting. Linux has no argument string:
/// there it is the program's only argument.
void setNativeArguments(QProcess& process, const QString& arguments);

/// Opens the null device for each standard stream that the host has closed. Otherwise a file that
/// is opened later (the log, the registry, a socket) could become a standard stream.
void reserveStandardStreams();

/// Writes to the standard output, without buffering. The text is dropped without an error when the
/// host has no standard output or its reader has gone.
void writeStandardOutput(const QByteArray& text);

} // namespace korvex::platform
