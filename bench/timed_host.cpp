// Calls the library with each argument, as the credential provider does, and prints "started
// MILLISECONDS" before each call.

#include "clocks.h"
#include "dynamic_library.h"

#include <cstdio>
#include <string_view>

int main(int argc, char** argv)
{
    const auto execute = korvex::signin_host::loadExecute({});
    if (!execute) {
        std::fprintf(stderr, "%s\n", execute.error().c_str());
        return 1;
    }
    for (int i = 1; i < argc; ++i) {
        const std::string_view json = argv[i]; // ASCII
        const std::wstring input(json.begin(), json.end());
        std::printf("started %f\n", korvex::bench::sharedNow());
        std::fflush(stdout);
        if ((*execute)(input.c_str()) != 1)
            return 1;
    }
    return 0;
}
