// A log that writes nothing: each refused input logs a line, and there are thousands per second.

#include "core/log.h"

namespace korvex {

Logger::Logger() = default;

bool Logger::log(int, const QString&)
{
    return true;
}

bool Logger::logError(const QString&)
{
    return true;
}

bool Logger::logWarning(int, const QString&)
{
    return true;
}

bool Logger::logRequest(const QString&)
{
    return true;
}

Logger& logger()
{
    static Logger instance;
    return instance;
}

} // namespace korvex
