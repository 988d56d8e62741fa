#pragma once

class QByteArray;
class QFile;

namespace korvex::platform {

/// Opens `file` (its name set) for appending, creating it when missing and never truncating.
/// Linux: readable by the owner's group, not by others. False when it cannot be opened.
bool openForAppending(QFile& file);

/// Appends text to a file that openForAppending() opened. The text stays in one piece, whatever its
/// length, also while other processes append. Its lines end with "\n", which Windows writes as
/// "\r\n". False when not all of it was written.
bool appendText(QFile& file, const QByteArray& text);

} // namespace korvex::platform
