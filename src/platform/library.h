#pragma once

#include <QByteArray>

class QString;

namespace korvex::platform {

/// Tells QtCore that the application's file is `path`, whatever program has loaded the library, so
/// that plug-ins, the web engine's process and qt.conf are looked for beside it. Uses a private
/// export of QtCore; false when it is not there. Before the application object is built.
bool setApplicationFilePath(const QString& path);

/// What a qt.conf that does not exist yet is created with. Windows: nothing, since Qt lies beside
/// the library. Linux: where the distribution keeps Qt, since Qt takes an empty file for the claim
/// that everything lies beside the library. Before the application object is built.
QByteArray initialQtConf();

/// Keeps the library that holds this code loaded until the process ends, so that it cannot be
/// unloaded under live engine threads. False when the system refused.
bool pinLibrary();

} // namespace korvex::platform
