#include "support/scratch_system.h"

#include "platform/paths.h"
#include "platform/windows/wide_text.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>
#include <windows.h>

namespace korvex::test {

namespace {

// Names the key to the copies of a test program.
constexpr char kKeyVariable[] = "KORVEX_TEST_KEY";
constexpr wchar_t kTestKeys[] = L"Software\\Korvex\\Test";

struct PredefinedKey
{
    HKEY key;
    const char* name;
};
const PredefinedKey kPredefined[] = {{HKEY_LOCAL_MACHINE, "machine"}, {HKEY_CURRENT_USER, "user"}};

HKEY createKey(const QString& path)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, platform::wideText(path), 0, nullptr, 0, KEY_ALL_ACCESS,
                        nullptr, &key, nullptr) != ERROR_SUCCESS)
        qFatal("cannot make the key %s", qPrintable(path));
    return key;
}

/// What libraries of the system itself look for, to protect data.
void copyProviders(HKEY machine)
{
    constexpr wchar_t providers[] = L"SOFTWARE\\Microsoft\\Cryptography\\Defaults";
    HKEY source = nullptr;
    HKEY copy = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, providers, 0, KEY_READ, &source) != ERROR_SUCCESS)
        return;
    if (RegCreateKeyExW(machine, providers, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &copy,
                        nullptr) == ERROR_SUCCESS) {
        RegCopyTreeW(source, nullptr, copy);
        RegCloseKey(copy);
    }
    RegCloseKey(source);
}

QString pathOf(const QString& place, const PredefinedKey& predefined)
{
    return place + QLatin1Char('\\') + QLatin1String(predefined.name);
}

/// Makes what the predefined keys are to lead to.
void prepare(const QString& place)
{
    const HKEY machine = createKey(pathOf(place, kPredefined[0]));
    copyProviders(machine);
    RegCloseKey(machine);
}

/// Leads the predefined keys to keys below `place`, for this process alone.
void redirect(const QString& place)
{
    HKEY own[std::size(kPredefined)];
    // All are opened first, while the user's key still means itself.
    for (std::size_t i = 0; i < std::size(kPredefined); ++i)
        own[i] = createKey(pathOf(place, kPredefined[i]));
    for (std::size_t i = 0; i < std::size(kPredefined); ++i) {
        if (RegOverridePredefKey(kPredefined[i].key, own[i]) != ERROR_SUCCESS)
            qFatal("cannot redirect the registry");
        RegCloseKey(own[i]);
    }
}

void redirectNoMore()
{
    for (const PredefinedKey& predefined : kPredefined)
        RegOverridePredefKey(predefined.key, nullptr);
}

void removeFixedFolders()
{
    if (QFileInfo::exists(platform::libraryPath()))
        qFatal("the product is installed on this machine, its files would be lost");
    for (const QString& folder : {platform::dataRoot(), platform::installDirectory()}) {
        QDir(folder).removeRecursively();
        QDir().rmdir(QFileInfo(folder).path()); // if the product's other parts left it empty
    }
}

// A copy of a test program is redirected before its main(), as the program itself was.
[[maybe_unused]] const bool isCopy = [] {
    const QString place = qEnvironmentVariable(kKeyVariable);
    if (!place.isEmpty())
        redirect(place);
    return !place.isEmpty();
}();

} // namespace

ScratchSystem::ScratchSystem(const QString&)
    : m_place(QString::fromWCharArray(kTestKeys) + QLatin1Char('\\') +
              QUuid::createUuid().toString(QUuid::WithoutBraces))
{
    removeFixedFolders();
    prepare(m_place);
    redirect(m_place);
    qputenv(kKeyVariable, m_place.toLatin1());
}

ScratchSystem::~ScratchSystem()
{
    qunsetenv(kKeyVariable);
    redirectNoMore();
    RegDeleteTreeW(HKEY_CURRENT_USER, platform::wideText(m_place));
    // The parents go with the last test.
    RegDeleteKeyW(HKEY_CURRENT_USER, kTestKeys);
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Korvex");
    removeFixedFolders();
}

void ScratchSystem::emptyRegistry()
{
    redirectNoMore();
    RegDeleteTreeW(HKEY_CURRENT_USER, platform::wideText(m_place));
    prepare(m_place);
    redirect(m_place);
}

QString knownAccount()
{
    return qEnvironmentVariable("USERNAME");
}

} // namespace korvex::test
