#pragma once

#include <QTemporaryDir>

namespace korvex::bench {

/// A root and home folder for this process and its children, removed at the end: nothing of an
/// installation on this machine or of an earlier run counts.
class TemporaryRoot : public QTemporaryDir
{
public:
    TemporaryRoot()
    {
        for (const char* const name : {"KORVEX_ROOT", "HOME", "XDG_RUNTIME_DIR"})
            qputenv(name, path().toLocal8Bit());
    }
};

} // namespace korvex::bench
