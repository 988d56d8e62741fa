#pragma once

#include "clocks.h"

#include <vector>

namespace korvex::bench {

/// The product and a baseline, measured in turn. The i-th values of both are from the same moment,
/// and so from the same load of the machine.
struct Comparison
{
    const char* subject;
    const char* unit;
    std::vector<double> ours{};
    std::vector<double> baseline{};
};

double median(std::vector<double> values);

/// Prints the heading of a table, with the load of the machine.
void printHeading(const char* baseline);

/// Prints one line: the medians, the median ratio of the pairs with their quartiles, and whether
/// that ratio is at most the target. True when it is.
bool report(const Comparison& comparison, double target);

/// Compares two functions, in microseconds of processor time per call. Many calls are timed
/// together, so that the clock itself does not count. Processor time is right because neither side
/// waits, and other programs on the machine do not add to it.
template <typename Ours, typename Baseline>
Comparison compareCalls(const char* subject, Ours ours, Baseline baseline)
{
    constexpr int kPairs = 200;
    constexpr int kCalls = 100;
    const auto time = [](auto& function) {
        const double begin = now(CLOCK_THREAD_CPUTIME_ID);
        for (int i = 0; i < kCalls; ++i)
            function();
        return (now(CLOCK_THREAD_CPUTIME_ID) - begin) * 1e3 / kCalls;
    };
    time(ours);
    time(baseline);
    Comparison result{.subject = subject, .unit = "us"};
    for (int i = 0; i < kPairs; ++i) {
        result.ours.push_back(time(ours));
        result.baseline.push_back(time(baseline));
    }
    return result;
}

} // namespace korvex::bench
