#include "support/scratch_system.h"

#include <QFile>
#include <pwd.h>
#include <unistd.h>

namespace korvex::test {

ScratchSystem::ScratchSystem(const QString& folder)
    : m_place(folder)
{
    // An empty root would be the machine's own.
    if (folder.isEmpty())
        qFatal("no temporary folder");
    qputenv("KORVEX_ROOT", QFile::encodeName(folder));
}

ScratchSystem::~ScratchSystem()
{
    qunsetenv("KORVEX_ROOT");
}

void ScratchSystem::emptyRegistry()
{
    for (const char* const suffix : {"", "-wal", "-shm"})
        QFile::remove(m_place + QLatin1String("/registry.db") + QLatin1String(suffix));
}

QString knownAccount()
{
    const passwd* const account = ::getpwuid(::getuid());
    if (!account)
        qFatal("the account that runs the test has no name");
    return QString::fromLocal8Bit(account->pw_name);
}

} // namespace korvex::test
