#include "offline_mode/file_validator.h"

#include <QFileInfo>
#include <QImageReader>

namespace korvex {

bool FileValidator::isImage(const QString& path)
{
    constexpr qint64 kMaxBytes = 1024 * 1024;
    constexpr int kMaxSide = 2048;

    const QFileInfo file(path);
    if (!file.isFile() || file.size() > kMaxBytes)
        return false;
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    return size.isValid() && size.width() <= kMaxSide && size.height() <= kMaxSide &&
           !reader.read().isNull();
}

} // namespace korvex
