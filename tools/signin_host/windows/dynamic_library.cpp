#include "dynamic_library.h"

#include <filesystem>
#include <windows.h>

namespace korvex::signin_host {

std::expected<Execute, std::string> loadExecute(const std::string& path)
{
    std::filesystem::path file(path);
    if (file.empty()) {
        wchar_t program[MAX_PATH] = {};
        ::GetModuleFileNameW(nullptr, program, MAX_PATH - 1);
        file = std::filesystem::path(program).parent_path() / L"korvexLogin.dll";
    }
    file = std::filesystem::absolute(file);
    // The library's own folder is searched for the libraries that it needs.
    const HMODULE library = ::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    const FARPROC symbol = library ? ::GetProcAddress(library, "korvex_execute") : nullptr;
    if (!symbol)
        return std::unexpected("cannot load " + file.string() + ", error " +
                               std::to_string(::GetLastError()));
    return reinterpret_cast<Execute>(reinterpret_cast<void*>(symbol));
}

} // namespace korvex::signin_host
