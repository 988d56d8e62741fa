#include "platform/file_use.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace korvex::platform {

bool isFileOpen(const QString& path)
{
    const QString file = QFileInfo(path).canonicalFilePath();
    const QFileInfoList open = QDir(QStringLiteral("/proc/self/fd"))
                                   .entryInfoList(QDir::Files | QDir::System, QDir::NoSort);
    return !file.isEmpty() && std::ranges::any_of(open, [&file](const QFileInfo& descriptor) {
        return descriptor.symLinkTarget() == file;
    });
}

} // namespace korvex::platform
