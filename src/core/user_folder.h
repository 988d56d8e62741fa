#pragma once

#include <QString>

namespace korvex {

/// The name of the folder that keeps a user's web data: the first 7 lower-case hex digits of the
/// SHA-256 of the SID's UTF-8 text; "unknown_user" for an empty SID.
QString userFolderName(const QString& sid);

/// The folder of the user that signs in, below the data root's Cache folder. It may not exist yet.
QString userStorageDirectory();

/// The folder in it that the web engine keeps cookies, local storage and cache in.
QString webStorageDirectory();

} // namespace korvex
