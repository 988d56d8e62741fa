#pragma once

#include "core/non_movable_copyable.h"

#include <QFile>
#include <QString>
#include <mutex>

namespace korvex {

/// The append-only text log of the library: the administrator's only view of what a sign-in did.
///
/// One message is one line (its control characters are written as \u and four hexadecimal digits),
/// written to the log file and to the process's standard output:
/// "[date time offset] [KorvexLogin version] [process:thread] " and the message. Several processes
/// and threads may write at once. The file has no size limit and is never rotated:
/// that is left to the administrator.
/// A log that cannot be opened makes every write return false and changes nothing else.
class Logger : private NonMovableCopyable
{
public:
    /// Opens the log below the data root and reads its verbosity (registry values debugMode and
    /// debugKorvexRequests); both stay as they are for the life of the object.
    Logger();

    /// Writes at a verbosity: 0 always, 1 to 3 (and above) up to the value of debugMode.
    /// True when the line was written.
    bool log(int level, const QString& message);
    bool logError(const QString& message);
    bool logWarning(int level, const QString& message);
    /// A body of a service request or answer; written only with debugKorvexRequests.
    bool logRequest(const QString& message);

private:
    QFile m_file;
    std::mutex m_mutex;
    int m_maxLevel = 0;
    bool m_debugRequests = false;
};

/// The log of this process.
Logger& logger();

} // namespace korvex
