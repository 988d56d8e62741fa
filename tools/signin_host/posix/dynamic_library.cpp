#include "dynamic_library.h"

#include <dlfcn.h>
#include <filesystem>

namespace korvex::signin_host {

std::expected<Execute, std::string> loadExecute(const std::string& path)
{
    std::string file = path;
    if (file.empty()) {
        std::error_code error;
        const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
        file = program.parent_path() / "libkorvexLogin.so";
    }
    void* const library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const symbol = library ? ::dlsym(library, "korvex_execute") : nullptr;
    if (!symbol)
        return std::unexpected(std::string(::dlerror()));
    return reinterpret_cast<Execute>(symbol);
}

} // namespace korvex::signin_host
