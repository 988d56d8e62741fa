// Stands on the path as powershell and does what its environment variable KORVEX_TEST_TASKS names.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#ifdef _WIN32
#include <windows.h>
#endif

namespace {

/// The command line as it arrived. Linux has none: there a tabulator stands before each argument.
std::filesystem::path commandLine([[maybe_unused]] char** argv)
{
#ifdef _WIN32
    return GetCommandLineW();
#else
    std::string line = "powershell";
    while (*++argv != nullptr)
        line.append("\t").append(*argv);
    return line;
#endif
}

void crash()
{
#ifdef _WIN32
    // As the system ends a crashed program, but without calling for a debugger.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_ACCESS_VIOLATION));
#else
    std::raise(SIGKILL);
#endif
}

void print(const std::u8string& text)
{
    std::puts(reinterpret_cast<const char*>(text.c_str()));
}

} // namespace

int main(int /*argc*/, char** argv)
{
    const std::string_view tasks = std::getenv("KORVEX_TEST_TASKS");
    if (tasks.contains("show")) {
        print(commandLine(argv).u8string());
        print(std::filesystem::current_path().u8string());
    }
    if (tasks.contains("print"))
        print(u8" \t\n  J\u00fcrgen \n");
    if (tasks.contains("flood"))
        print(std::u8string(1'000'000, u8'x'));
    if (tasks.contains("complain"))
        std::fputs("oops\n", stderr);
    std::fflush(stdout);
    if (tasks.contains("hang")) // less long than the usual limit
        std::this_thread::sleep_for(std::chrono::seconds(10));
    if (tasks.contains("crash"))
        crash();
    return tasks.contains("fail") ? 3 : 0;
}
