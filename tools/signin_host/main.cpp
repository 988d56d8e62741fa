// A stand-in for the credential provider: loads the library and calls its export.

#include "dynamic_library.h"

#include <clocale>
#include <cstdio>
#include <cwchar>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using korvex::signin_host::Execute;

constexpr int kUsageError = 3;
constexpr size_t kMaxJsonFile = 16 * 1024 * 1024;

constexpr char kUsage[] =
    "Usage: korvex-signin-host [--library PATH] [--thread] JSON...\n"
    "Calls korvex_execute once for each JSON text, in one process, and prints \"verdict: N\".\n"
    "\n"
    "  JSON            {\"user\": ..., \"ip\": ...} as the credential provider writes it (one raw\n"
    "                  backslash in the user); @FILE takes the text from a file\n"
    "  --library PATH  the library; by default the one beside this program\n"
    "  --thread        makes the calls that follow from a new thread\n"
    "\n"
    "Exit status, of the last call: 0 granted (1), 1 denied (0), 2 no offline screen (-1);\n"
    "3 when nothing could be called. A closed sign-in window ends the process with 0 and without\n"
    "that line.\n";

struct Group
{
    bool ownThread = false;
    std::vector<std::string> inputs;
};

struct Options
{
    std::string pathOfLibrary;
    std::vector<Group> groups = {Group{}};
};

/// Decodes UTF-8. An invalid byte becomes a lone surrogate, so that invalid input can be tried.
std::wstring decode(const std::string& text)
{
    std::wstring wide;
    std::mbstate_t state{};
    for (size_t i = 0; i < text.size();) {
        wchar_t character = 0;
        const size_t length = std::mbrtowc(&character, text.data() + i, text.size() - i, &state);
        if (length == 0 || length > text.size()) {
            state = {};
            wide += static_cast<wchar_t>(0xdc00 | static_cast<unsigned char>(text[i]));
            ++i;
        } else {
            wide += character;
            i += length;
        }
    }
    return wide;
}

std::optional<std::string> readInput(const std::string& argument)
{
    if (!argument.starts_with('@'))
        return argument;
    std::ifstream file(argument.substr(1), std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), {});
    if (!file || text.size() > kMaxJsonFile)
        return std::nullopt;
    return text;
}

std::optional<Options> parse(const std::vector<std::string>& arguments)
{
    Options options;
    bool any = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--library" && i + 1 < arguments.size()) {
            options.pathOfLibrary = arguments[++i];
        } else if (arguments[i] == "--thread") {
            options.groups.push_back({.ownThread = true, .inputs = {}});
        } else if (arguments[i].starts_with("--")) {
            return std::nullopt;
        } else if (const auto text = readInput(arguments[i])) {
            options.groups.back().inputs.push_back(*text);
            any = true;
        } else {
            return std::nullopt;
        }
    }
    return any ? std::optional(options) : std::nullopt;
}

/// Returns the last verdict.
int callAll(Execute execute, const std::vector<std::string>& inputs)
{
    int verdict = 0;
    for (const std::string& input : inputs) {
        verdict = execute(decode(input).c_str());
        std::printf("verdict: %d\n", verdict);
        std::fflush(stdout);
    }
    return verdict;
}

} // namespace

int main(int argc, char** argv)
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    const auto options = parse({argv + 1, argv + argc});
    if (!options) {
        std::fputs(kUsage, stderr);
        return kUsageError;
    }
    const auto execute = korvex::signin_host::loadExecute(options->pathOfLibrary);
    if (!execute) {
        std::fprintf(stderr, "korvex-signin-host: %s\n", execute.error().c_str());
        return kUsageError;
    }

    int verdict = 0;
    for (const Group& group : options->groups) {
        if (group.inputs.empty())
            continue;
        if (group.ownThread)
            std::thread([&] { verdict = callAll(*execute, group.inputs); }).join();
        else
            verdict = callAll(*execute, group.inputs);
    }
    return verdict == 1 ? 0 : verdict == 0 ? 1 : 2;
}
