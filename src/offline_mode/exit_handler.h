#pragma once

#include <memory>

class QCoreApplication;

namespace korvex::offline_mode {

class ScreenResult;

/// Starts the thread that waits for the offline screen to close and then ends the sign-in: a
/// correct code grants, anything else ends the whole process with status 0. Without a result to
/// wait for (the screen has no controller) the user is let in: a fault of the screen must not lock
/// anybody out.
///
/// The thread is detached. It reaches the application only by a queued call, which does nothing
/// once the screen has been torn down.
void startExitHandler(QCoreApplication& application, std::shared_ptr<ScreenResult> result);

} // namespace korvex::offline_mode
