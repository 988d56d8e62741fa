#pragma once

namespace korvex::bench {

/// The main() of a benchmark that runs two programs with a window in turn. Gives them a root folder
/// of their own and calls `measure` with the number of pairs, which is the first argument (15
/// without one). Returns what `measure` returns; 1 when it throws std::runtime_error, whose text is
/// printed.
int runPairs(int argc, char** argv, int (*measure)(int pairs));

} // namespace korvex::bench
