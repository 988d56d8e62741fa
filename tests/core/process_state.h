#pragma once

#include "core/log.h"
#include "core/logon_input.h"
#include "core/settings.h"
#include "support/temporary_root.h"

#include <QJsonDocument>

namespace korvex::test {

/// What all sign-ins of a process share, for a test program that makes this before anything logs:
/// a root folder, its registry, and the process-wide log at full verbosity.
class ProcessState
{
public:
    ProcessState()
    {
        mainKey().writeNumber("debugMode", 3);
        logger();
        startAnew();
    }

    /// Empties the registry, begins a sign-in without an account, forgets the log so far.
    void startAnew()
    {
        m_root.emptyRegistry();
        beginSignIn({});
        takeLog();
    }

    /// The messages logged since the last call.
    QStringList takeLog()
    {
        const QStringList all = m_root.logMessages();
        const QStringList fresh = all.mid(m_taken);
        m_taken = all.size();
        return fresh;
    }

private:
    TemporaryRoot m_root;
    int m_taken = 0;
};

} // namespace korvex::test
