#pragma once

class QApplication;

namespace korvex {

/// The application object, built by the first call and kept for the life of the process: the web
/// engine cannot be started twice. Also tells Qt where the library lives and pins the library, so
/// that it is not unloaded under the engine's threads. GUI thread only.
QApplication& hostedApplication();

} // namespace korvex
