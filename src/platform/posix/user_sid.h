#pragma once

#include <QString>
#include <sys/types.h>

namespace korvex::platform {

/// The identifier that stands for a user of this system: "S-1-22-1-" and the user id, as file
/// servers that show such users to Windows write it.
QString userSid(uid_t user);

} // namespace korvex::platform
