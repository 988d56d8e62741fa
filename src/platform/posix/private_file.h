#pragma once

#include <QString>
#include <expected>
#include <functional>

namespace korvex::platform {

/// The folder below which this system keeps everything: $KORVEX_ROOT, else /var/lib/korvex.
/// Absolute, without a separator at the end. Looked up at each call.
QString rootFolder();

/// Makes a folder that is missing, and its missing parents, each of mode 0700. An existing one is
/// left as it is.
std::expected<void, QString> makePrivateFolder(const QString& path);

/// Makes a file of mode 0600 appear with its whole content: `fill` is given the path of an empty
/// file in the same folder, which then takes its place. When processes do this at the same time,
/// one file stays and all of them succeed; an existing file is never touched. Makes the folder when
/// it is missing. The error is a text with path and cause.
std::expected<void, QString>
publishPrivateFile(const QString& path,
                   const std::function<std::expected<void, QString>(const QString& path)>& fill);

} // namespace korvex::platform
