#pragma once

#include "command_line.h"

#include <QString>

namespace korvex::registry_editor {

/// What a command leaves for the user, and for the script that ran it.
struct Outcome
{
    bool succeeded;
    QString output;
    QString error = {};
};

Outcome run(const Command& command);

} // namespace korvex::registry_editor
