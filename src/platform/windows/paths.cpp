#include "platform/paths.h"

namespace korvex::platform {

QString installDirectory()
{
    return QStringLiteral("C:\\Program Files\\Korvex\\Logon");
}

QString libraryPath()
{
    return QStringLiteral("C:\\Program Files\\Korvex\\Logon\\korvexLogin.dll");
}

QString dataRoot()
{
    return QStringLiteral("C:\\ProgramData\\Korvex\\Logon");
}

} // namespace korvex::platform
