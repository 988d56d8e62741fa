#pragma once

#include <expected>
#include <string>

namespace korvex::signin_host {

/// The one export of the library.
using Execute = int (*)(const wchar_t* json);

/// Loads the library (beside this program when `path` is empty) and finds its export, or says why
/// not. It stays loaded.
std::expected<Execute, std::string> loadExecute(const std::string& path);

} // namespace korvex::signin_host
