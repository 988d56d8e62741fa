#include "offline_mode/file_validator.h"

#include "core/logo_image.h"

#include <QFile>

namespace korvex {

bool FileValidator::isImage(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && !logoFormat(file.read(kMaxLogoSize + 1)).isEmpty();
}

} // namespace korvex
