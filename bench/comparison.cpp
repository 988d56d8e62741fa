#include "comparison.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>

namespace korvex::bench {

namespace {

/// The value below which the share `part` of the values lies.
double quantile(std::vector<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values.at(static_cast<std::size_t>(part * static_cast<double>(values.size() - 1)));
}

} // namespace

double median(std::vector<double> values)
{
    return quantile(std::move(values), 0.5);
}

// Tables go to standard error: what is measured may write to the standard output.

void printHeading(const char* baseline)
{
    double load = 0;
    ::getloadavg(&load, 1);
    std::fprintf(stderr, "\nAgainst %s (load average %.2f, %u processors)\n", baseline, load,
                 std::thread::hardware_concurrency());
    std::fprintf(stderr, "%-34s %12s %12s %7s  %-15s %5s %7s\n", "medians", "ours", "baseline",
                 "ratio", "(quartiles)", "pairs", "target");
}

bool report(const Comparison& comparison, double target)
{
    const auto& [subject, unit, ours, baseline] = comparison;
    std::vector<double> ratios(ours.size());
    std::transform(ours.begin(), ours.end(), baseline.begin(), ratios.begin(), std::divides());
    const double ratio = median(ratios);
    const bool met = ratio <= target;
    std::fprintf(stderr, "%-34s %9.2f %-2s %9.2f %-2s %7.3f  (%.3f - %.3f) %5zu %7.2f  %s\n",
                 subject, median(ours), unit, median(baseline), unit, ratio, quantile(ratios, 0.25),
                 quantile(ratios, 0.75), ratios.size(), target, met ? "met" : "MISSED");
    return met;
}

} // namespace korvex::bench
