// openssl.exe for tests that run by Wine: hands its arguments and its input to the openssl program
// of the Linux machine and passes on what that one answers.
//
// Wine starts Linux programs, but neither connects them to pipes nor tells when they end. So
// everything goes through files, the last of which says that all is there.

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <io.h>
#include <iterator>
#include <string>
#include <thread>
#include <windows.h>

namespace {

constexpr auto kTimeout = std::chrono::seconds(20);
constexpr int kNoAnswer = 99;

std::string toUtf8(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    std::string utf8(text.size() * 3, '\0');
    utf8.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(),
                            static_cast<int>(utf8.size()), nullptr, nullptr)));
    return utf8;
}

/// The argument as one word of a shell.
std::string quoted(const std::wstring& argument)
{
    std::string word = "'";
    for (const char each : toUtf8(argument))
        word += each == '\'' ? std::string("'\\''") : std::string(1, each);
    return word + "'";
}

std::string contentsOf(std::FILE* stream)
{
    std::string contents;
    char piece[4096];
    for (std::size_t size = 0; (size = std::fread(piece, 1, sizeof piece, stream)) > 0;)
        contents.append(piece, size);
    return contents;
}

std::string contentsOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::string& path, const std::string& contents)
{
    std::ofstream(path, std::ios::binary) << contents;
}

/// Runs a shell script of the Linux machine, whose path is `path`; false when it was not started.
bool startScript(const std::string& path)
{
    std::wstring line = L"sh " + std::wstring(path.begin(), path.end());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    return CreateProcessW(L"Z:\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &startup, &process) != FALSE;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);

    // The same folder as both systems name it.
    const std::string folder = "/tmp/korvex-openssl-" + std::to_string(GetCurrentProcessId());
    const std::string here = "Z:" + folder;
    CreateDirectoryA(here.c_str(), nullptr);
    std::string script = "cd " + folder + "\nopenssl";
    for (int i = 1; i < argc; ++i)
        script += ' ' + quoted(argv[i]);
    script += " <input >output 2>errors\necho $? >status.new\nmv status.new status\n";
    writeFile(here + "/input", contentsOf(stdin));
    writeFile(here + "/script", script);

    int status = kNoAnswer;
    if (startScript(folder + "/script")) {
        const auto end = std::chrono::steady_clock::now() + kTimeout;
        std::string answer;
        while ((answer = contentsOf(here + "/status")).empty() &&
               std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (!answer.empty())
            status = std::stoi(answer);
    }
    const std::string output = contentsOf(here + "/output");
    const std::string errors = contentsOf(here + "/errors");
    std::fwrite(output.data(), 1, output.size(), stdout);
    std::fwrite(errors.data(), 1, errors.size(), stderr);
    for (const char* const name : {"/input", "/script", "/output", "/errors", "/status"})
        DeleteFileA((here + name).c_str());
    RemoveDirectoryA(here.c_str());
    return status;
}
