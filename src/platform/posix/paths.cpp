#include "platform/paths.h"

#include "platform/posix/private_file.h"

namespace korvex::platform {

QString installDirectory()
{
    return rootFolder() + QStringLiteral("/Program Files/Korvex/Logon");
}

QString libraryPath()
{
    return installDirectory() + QStringLiteral("/libkorvexLogin.so");
}

QString dataRoot()
{
    return rootFolder() + QStringLiteral("/ProgramData/Korvex/Logon");
}

} // namespace korvex::platform
