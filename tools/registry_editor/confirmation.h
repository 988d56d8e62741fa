#pragma once

class QString;

namespace korvex::registry_editor {

/// Asks on the terminal until the answer is yes or no. No where the standard input ends or is no
/// terminal: a script says what it means with a switch.
bool confirm(const QString& question);

} // namespace korvex::registry_editor
