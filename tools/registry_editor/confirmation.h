#pragma once

class QString;

namespace korvex::registry_editor {

/// Asks on the terminal until the answer is yes or no. The answer is no when the standard input
/// ends or is not a terminal; scripts use a switch instead.
bool confirm(const QString& question);

} // namespace korvex::registry_editor
