#pragma once

#include <QString>

namespace korvex {

/// A text of the page, fit for a dialog: at most 1000 characters on 20 lines, the rest replaced by
/// "...", without control characters, and with a place to break in every long word.
QString pageText(const QString& text);

} // namespace korvex
