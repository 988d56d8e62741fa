#pragma once

#include <ctime>

namespace korvex::bench {

/// Milliseconds of one of the system's clocks.
inline double now(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// On the clock that all processes of the machine share.
inline double sharedNow()
{
    return now(CLOCK_MONOTONIC);
}

} // namespace korvex::bench
