#pragma once

#include "clocks.h"

#include <vector>

namespace korvex::bench {

/// The product and a baseline, measured in turn: the i-th value of one stands beside the i-th of
/// the other, from the same moment and so the same load of the machine.
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
/// that ratio keeps the target. True when it does.
bool report(const Comparison& comparison, double target);

/// Microseconds per call, from many calls at a time, so that the clock itself does not count.
/// Processor time, which other programs on the machine do not add to: neither side waits.
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
