#pragma once

#include "core/non_movable_copyable.h"

#include <QString>

namespace korvex {

/// Waits until a profile's cookies are on the disk, two seconds at most. Made before the profile
/// and destroyed after it. The engine writes cookies every 30 seconds, and on a thread of its own
/// when the profile is destroyed; the host may end its process right after the verdict.
class CookieFlush : private NonMovableCopyable
{
public:
    explicit CookieFlush(const QString& storage);
    ~CookieFlush();

private:
    QString m_file;
};

} // namespace korvex
