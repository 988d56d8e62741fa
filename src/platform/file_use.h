#pragma once

class QString;

namespace korvex::platform {

/// Whether a file is open. Windows: in any process; Linux: in this one. A file that is not there is
/// not open.
bool isFileOpen(const QString& path);

} // namespace korvex::platform
