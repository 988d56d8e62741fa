#pragma once

#include "core/non_movable_copyable.h"

#include <QString>

namespace korvex {

/// Sees to it that cookies reach the disk: to be made before a web engine profile and destroyed
/// after it. The engine writes them within 30 seconds, or on a thread of its own once the profile
/// is gone; and the host may end its process as soon as it has the verdict. Waits two seconds at
/// most.
class CookieFlush : private NonMovableCopyable
{
public:
    explicit CookieFlush(const QString& storage);
    ~CookieFlush();

private:
    QString m_file;
};

} // namespace korvex
