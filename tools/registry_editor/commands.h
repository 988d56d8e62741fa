#pragma once

#include "command_line.h"

#include <QString>

namespace korvex::registry_editor {

/// The result of a command, for the user and for a script.
struct Outcome
{
    bool succeeded;
    QString output;
    QString error = {};
};

Outcome run(const Command& command);

} // namespace korvex::registry_editor
