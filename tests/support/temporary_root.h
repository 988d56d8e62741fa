#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace korvex::test {

/// A root folder of the test's own: names it in KORVEX_ROOT for this process and its children, and
/// removes it at the end.
class TemporaryRoot
{
public:
    TemporaryRoot();
    ~TemporaryRoot();

    QString path() const { return m_directory.path(); }
    /// Where the log of this root stands.
    QString logPath() const;
    /// The lines of the log, without their prefix "[...] [KorvexLogin ...] [...] ".
    QStringList logMessages() const;

private:
    QTemporaryDir m_directory;
};

} // namespace korvex::test
