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

/// Hands a program its argument string as it stands, without any quoting. Linux has no argument
/// string: there the program gets it as its one argument.
void setNativeArguments(QProcess& process, const QString& arguments);

/// Makes sure that nothing opened later (the log, the registry, a socket) can be taken for a
/// standard stream: one that the host closed becomes the null device.
void reserveStandardStreams();

/// Writes to the standard output, without buffering. A host that has none, or whose reader has
/// gone, costs the text and nothing else.
void writeStandardOutput(const QByteArray& text);

} // namespace korvex::platform
