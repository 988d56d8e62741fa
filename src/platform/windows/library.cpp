#include "platform/library.h"

#include <QByteArray>
#include <QString>
#include <windows.h>

namespace korvex::platform {

namespace {

// QCoreApplicationPrivate::setApplicationFilePath(const QString&), a static member.
using SetApplicationFilePath = void (*)(const QString&);
constexpr const char* kMsvcName =
    "?setApplicationFilePath@QCoreApplicationPrivate@@SAXAEBVQString@@@Z";
constexpr const char* kMingwName =
    "_ZN23QCoreApplicationPrivate22setApplicationFilePathERK7QString";

/// The function's export by its number in the MSVC kit of Qt 5.15.2. In other builds the number
/// belongs to another function.
FARPROC exportByOrdinal([[maybe_unused]] HMODULE module)
{
#ifdef _MSC_VER
    constexpr WORD kOrdinal = 6442;
    if (qstrcmp(qVersion(), "5.15.2") == 0)
        return GetProcAddress(module, MAKEINTRESOURCEA(kOrdinal));
#endif
    return nullptr;
}

FARPROC findExport(HMODULE module)
{
    for (const char* const name : {kMsvcName, kMingwName})
        if (const FARPROC address = GetProcAddress(module, name); address != nullptr)
            return address;
    return exportByOrdinal(module);
}

} // namespace

bool setApplicationFilePath(const QString& path)
{
    const HMODULE module = GetModuleHandleW(L"Qt5Core");
    const FARPROC address = module != nullptr ? findExport(module) : nullptr;
    if (address == nullptr)
        return false;
    // The cast goes through void (*)() because compilers warn about a direct one.
    reinterpret_cast<SetApplicationFilePath>(reinterpret_cast<void (*)()>(address))(path);
    return true;
}

QByteArray initialQtConf()
{
    return {};
}

bool pinLibrary()
{
    HMODULE module = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN |
                                  GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              reinterpret_cast<LPCWSTR>(&pinLibrary), &module) != FALSE;
}

} // namespace korvex::platform
