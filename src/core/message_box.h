#pragma once

class QString;

namespace korvex {

/// Shows a modal box that stays on top, logs its text on one line, and waits until it is dismissed
/// or the event loop is told to end. GUI thread only.
void showMessageBox(const QString& text);

} // namespace korvex
