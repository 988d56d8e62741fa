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
    // Not a denial through the event loop: a closed window ends the host process, on purpose.
    logger().log(0, QStringLiteral("Offline Mode close requested. Last code was incorrect. "
                                   "Terminate process"));
    platform::terminateProcess(0);
}

/// Waits for the screen; what is then to be done by the application, if anything.
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
