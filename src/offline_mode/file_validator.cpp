#include "offline_mode/file_validator.h"

#include "core/logo_image.h"

#include <QDir>
#include <QFile>

namespace korvex {

bool FileValidator::isImage(const QString& path)
{
    // A relative path would be looked for in the folder that the host happens to work in.
    QFile file(path);
    return QDir::isAbsolutePath(path) && file.open(QIODevice::ReadOnly) &&
           !logoFormat(file.read(kMaxLogoSize + 1)).isEmpty();
}

} // namespace korvex
