#pragma once

#include <functional>

class QString;

namespace korvex::platform {

/// Tells why something of the system could not be used, for the log above this layer. Kept (the
/// first 16) until a handler is set; a report equal to the one before it is dropped. Any thread.
void reportFault(const QString& text);

/// Sets who hears of faults, and gives it those kept so far. An empty handler: keep them again.
void setFaultHandler(const std::function<void(const QString&)>& handler);

} // namespace korvex::platform
