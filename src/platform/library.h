#pragma once

#include <QByteArray>

class QString;

namespace korvex::platform {

/// Tells QtCore that the application's file is `path`, whatever program has loaded the library, so
/// that plug-ins, the web engine's process and qt.conf are looked for beside it. Uses a private
/// export of QtCore; false when it is missing. Call it before the application object is built.
bool setApplicationFilePath(const QString& path);

/// The initial content of qt.conf when the file is missing. Windows: empty, since Qt is in the
/// library's folder. Linux: the paths of the distribution's Qt, since an empty file tells Qt that
/// everything is in the library's folder. Call it before the application object is built.
QByteArray initialQtConf();

/// Keeps the library that holds this code loaded until the process ends, so that it cannot be
/// unloaded under live engine threads. False when the system refused.
bool pinLibrary();

} // namespace korvex::platform
