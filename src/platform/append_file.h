#pragma once

class QByteArray;
class QFile;

namespace korvex::platform {

/// Opens `file` (its name set) for appending, creating it when missing and never truncating.
/// Linux: readable by the owner's group, not by others. False when it cannot be opened.
bool openForAppending(QFile& file);

/// Writes text, its lines ended by "\n", in the system's own form (Windows: "\r\n") at the end of a
/// file that openForAppending() opened, as one piece of whatever length, also while other processes
/// append. False when not all of it was written.
bool appendText(QFile& file, const QByteArray& text);

} // namespace korvex::platform
