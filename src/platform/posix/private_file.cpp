#include "platform/posix/private_file.h"

#include "platform/posix/file_descriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

namespace korvex::platform {

namespace {

std::unexpected<QString> systemError(const QString& path, int code)
{
    return std::unexpected(QStringLiteral("'%1': %2").arg(path, qt_error_string(code)));
}

// A new link survives a power cut only after its folder has been written to the disk.
void synchronizeFolder(const QString& folder)
{
    const FileDescriptor descriptor(
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.isValid())
        ::fsync(descriptor.get());
}

} // namespace

QString rootFolder()
{
    const char* const named = ::secure_getenv("KORVEX_ROOT");
    if (named == nullptr || *named == '\0')
        return QStringLiteral("/var/lib/korvex");
    return QDir::cleanPath(QDir::current().absoluteFilePath(QFile::decodeName(named)));
}

std::expected<void, QString> makePrivateFolder(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    if (::mkdir(name.constData(), 0700) == 0 || errno == EEXIST)
        return {};
    if (errno != ENOENT)
        return systemError(path, errno);
    const QString parent = QFileInfo(path).path();
    if (parent == path)
        return systemError(path, ENOENT);
    if (auto made = makePrivateFolder(parent); !made)
        return made;
    if (::mkdir(name.constData(), 0700) == 0 || errno == EEXIST)
        return {};
    return systemError(path, errno);
}

std::expected<void, QString>
publishPrivateFile(const QString& path,
                   const std::function<std::expected<void, QString>(const QString& path)>& fill)
{
    const QString folder = QFileInfo(path).path();
    if (auto made = makePrivateFolder(folder); !made)
        return made;

    QByteArray temporary = QFile::encodeName(path) + ".XXXXXX";
    const int descriptor = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor < 0)
        return systemError(path, errno);
    ::close(descriptor);

    auto result = fill(QFile::decodeName(temporary));
    // Unlike a rename, a link does not replace a file that another process made first.
    if (result && ::link(temporary.constData(), QFile::encodeName(path).constData()) != 0 &&
        errno != EEXIST)
        result = systemError(path, errno);
    ::unlink(temporary.constData());
    synchronizeFolder(folder);
    return result;
}

} // namespace korvex::platform
