#include "pairs.h"

#include "temporary_root.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <unistd.h>

namespace korvex::bench {

int runPairs(int argc, char** argv, int (*measure)(int pairs))
{
    constexpr int kDefaultPairs = 15;
    const TemporaryRoot root;
    // The engine's sandbox cannot run as root.
    if (::geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    const QCoreApplication application(argc, argv);
    try {
        return measure(argc > 1 ? std::max(1, std::atoi(argv[1])) : kDefaultPairs);
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

} // namespace korvex::bench
