#include "offline_mode/exit_handler.h"

#include "core/log.h"
#include "core/verdict.h"
#include "offline_mode/screen_result.h"
#include "platform/process.h"

#include <QCoreApplication>
#include <functional>
#include <thread>
#include <utility>

namespace korvex::offline_mode {

namespace {

void endSignIn(bool accepted)
{
    if (accepted) {
        grant(QStringLiteral("Correct code for Offline Mode!"));
        return;
    }
    // Without a correct code the host process ends at once; it gets no denial.
    logger().log(0, QStringLiteral("Offline Mode close requested. Last code was incorrect. "
                                   "Terminate process"));
    platform::terminateProcess(0);
}

/// Waits until the screen closes. Returns what the application then has to do; empty when the
/// screen was torn down.
std::function<void()> awaitClose(const std::shared_ptr<ScreenResult>& result)
{
    if (!result) {
        logger().logError(QStringLiteral("TotpController is null!"));
        return [] { grant(QStringLiteral("Offline mode failure.")); };
    }
    const std::optional<bool> accepted = result->waitForClose();
    if (!accepted)
        return {};
    return [result, accepted = *accepted] {
        if (!result->isAbandoned())
            endSignIn(accepted);
    };
}

} // namespace

void startExitHandler(QCoreApplication& application, std::shared_ptr<ScreenResult> result)
{
    std::thread([&application, result = std::move(result)] {
        if (const auto act = awaitClose(result))
            QMetaObject::invokeMethod(&application, act, Qt::QueuedConnection);
    }).detach();
}

} // namespace korvex::offline_mode
