#pragma once

#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/settings.h"
#include "support/temporary_root.h"

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
    QStringList takeLog() { return m_root.takeLog(); }

private:
    TemporaryRoot m_root;
};

} // namespace korvex::test
