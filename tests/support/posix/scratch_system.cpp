#include "support/scratch_system.h"

#include <QFile>

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
    return QStringLiteral("root");
}

} // namespace korvex::test
