#pragma once

#include <functional>

class QString;

namespace korvex::platform {

/// Reports why something of the system could not be used. The handler is the log, which is above
/// this layer; until it is set, the first 16 reports are kept. A report equal to the previous one
/// is dropped. Any thread.
void reportFault(const QString& text);

/// Sets the handler of reports and passes it those kept so far. With an empty handler, reports are
/// kept again.
void setFaultHandler(const std::function<void(const QString&)>& handler);

} // namespace korvex::platform
