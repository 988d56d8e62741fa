#pragma once

#include <QString>

namespace korvex::platform {

// The fixed places of the installation. Windows: as the installer made them; the drive letter is
// not looked up. Linux: the same tree below one root folder, which the environment variable
// KORVEX_ROOT names (ignored in a process with raised privileges), else /var/lib/korvex.
// All are absolute, with the system's own separators and none at the end.

/// "C:\Program Files\Korvex\Logon", "<root>/Program Files/Korvex/Logon"
QString installDirectory();

/// The library's own file in the install directory: "korvexLogin.dll", "libkorvexLogin.so".
QString libraryPath();

/// "C:\ProgramData\Korvex\Logon", "<root>/ProgramData/Korvex/Logon"
QString dataRoot();

} // namespace korvex::platform
