#pragma once

#include <QtGlobal>

namespace korvex::platform {

/// Puts a window of this process above all others and gives it the keyboard.
///
/// Windows: SetWindowPos (topmost) and SetForegroundWindow. Linux: asks the window system through
/// Qt. `window` is the native handle (QWidget::winId()); a handle of no window is ignored.
/// GUI thread only.
void bringToForeground(quintptr window);

} // namespace korvex::platform
