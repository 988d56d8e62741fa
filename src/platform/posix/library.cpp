#include "platform/library.h"

#include <QLibraryInfo>
#include <QString>
#include <array>
#include <dlfcn.h>
#include <utility>

namespace korvex::platform {

namespace {

/// A value as QSettings reads it from an ini file: quoted, with everything outside ASCII as \xNNNN.
QByteArray iniValue(const QString& text)
{
    QByteArray value;
    bool afterEscape = false;
    for (const QChar character : text) {
        const ushort code = character.unicode();
        const bool isHexDigit =
            code < 0x80 && QByteArrayLiteral("0123456789abcdefABCDEF").contains(char(code));
        const bool isPlain = code >= 0x20 && code < 0x7f && code != '"' && code != '\\';
        // A hexadecimal digit after an escape would be read as part of it.
        afterEscape = !isPlain || (afterEscape && isHexDigit);
        value += afterEscape ? "\\x" + QByteArray::number(code, 16) : QByteArray(1, char(code));
    }
    return '"' + value + '"';
}

} // namespace

bool setApplicationFilePath(const QString& path)
{
    using Function = void (*)(const QString&);
    // QCoreApplicationPrivate::setApplicationFilePath(const QString&), a static member.
    void* const symbol =
        ::dlsym(RTLD_DEFAULT, "_ZN23QCoreApplicationPrivate22setApplicationFilePathERK7QString");
    if (symbol == nullptr)
        return false;
    reinterpret_cast<Function>(symbol)(path);
    return true;
}

QByteArray initialQtConf()
{
    static constexpr std::array kLocations{
        std::pair{"Prefix", QLibraryInfo::PrefixPath},
        std::pair{"Plugins", QLibraryInfo::PluginsPath},
        std::pair{"LibraryExecutables", QLibraryInfo::LibraryExecutablesPath},
        std::pair{"Data", QLibraryInfo::DataPath},
        std::pair{"Translations", QLibraryInfo::TranslationsPath},
        std::pair{"Imports", QLibraryInfo::ImportsPath},
        std::pair{"Qml2Imports", QLibraryInfo::Qml2ImportsPath},
    };
    QByteArray text = "[Paths]\n";
    for (const auto& [name, location] : kLocations)
        text += QByteArray(name) + '=' + iniValue(QLibraryInfo::location(location)) + '\n';
    return text;
}

bool pinLibrary()
{
    Dl_info self{};
    if (::dladdr(reinterpret_cast<const void*>(&pinLibrary), &self) == 0)
        return false;
    // The handle is never closed, so that the library stays loaded.
    return ::dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE) != nullptr;
}

} // namespace korvex::platform
