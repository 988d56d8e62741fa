// Stands on the path as PowerShell.exe. The file that the environment variable
// KORVEX_TEST_RECORD names gets the command line, as the bytes that the system handed over, and
// then, after a NUL, the working folder.
//
// It answers as the variables KORVEX_TEST_OUTPUT, KORVEX_TEST_ERRORS and KORVEX_TEST_EXIT say;
// "crash" for the last one ends it like an access violation.

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <windows.h>

namespace {

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

void record()
{
    std::FILE* const file = std::fopen(variable("KORVEX_TEST_RECORD").c_str(), "wb");
    if (file == nullptr)
        return;
    wchar_t folder[MAX_PATH] = {};
    GetCurrentDirectoryW(MAX_PATH, folder);
    const wchar_t* const line = GetCommandLineW();
    std::fwrite(line, sizeof(wchar_t), std::wcslen(line) + 1, file);
    std::fwrite(folder, sizeof(wchar_t), std::wcslen(folder), file);
    std::fclose(file);
}

} // namespace

int main()
{
    record();
    std::fputs(variable("KORVEX_TEST_OUTPUT").c_str(), stdout);
    std::fputs(variable("KORVEX_TEST_ERRORS").c_str(), stderr);
    const std::string end = variable("KORVEX_TEST_EXIT");
    if (end == "crash") {
        std::fflush(nullptr);
        // As the system ends a crashed program, but without calling for a debugger.
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_ACCESS_VIOLATION));
    }
    return std::atoi(end.c_str());
}
