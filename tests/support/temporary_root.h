#pragma once

#include "support/scratch_system.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace korvex::test {

/// A folder, a registry and fixed folders of the test's own, for this process and the copies of
/// itself that it starts; removed at the end. On Linux the fixed folders are in the folder.
class TemporaryRoot
{
public:
    void emptyRegistry() { m_system.emptyRegistry(); }

    QString path() const { return m_directory.path(); }
    /// Where the log of this root stands.
    QString logPath() const;
    /// The lines of the log, without their prefix "[...] [KorvexLogin ...] [...] ".
    QStringList logMessages() const;
    /// The messages that were logged since the last call.
    QStringList takeLog();

private:
    int m_taken = 0;
    QTemporaryDir m_directory;
    ScratchSystem m_system{m_directory.path()};
};

/// The bytes of a file; none for a file that cannot be read.
QByteArray contentOf(const QString& path);

/// Makes the file, or what it holds, these bytes; false when that failed.
[[nodiscard]] bool writeFile(const QString& path, const QByteArray& content);

} // namespace korvex::test
