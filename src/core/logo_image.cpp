#include "core/logo_image.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <algorithm>

namespace korvex {

namespace {

QByteArray formatBySignature(const QByteArray& bytes)
{
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return "png";
    return bytes.startsWith("\xff\xd8\xff") ? "jpg" : "";
}

bool canBeDecoded(QByteArray bytes, const QByteArray& format)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize size = reader.size();
    return !size.isEmpty() && std::max(size.width(), size.height()) <= kMaxLogoEdge &&
           !reader.read().isNull();
}

} // namespace

QByteArray logoFormat(const QByteArray& bytes)
{
    const QByteArray format = formatBySignature(bytes);
    const bool isLogo =
        bytes.size() <= kMaxLogoSize && !format.isEmpty() && canBeDecoded(bytes, format);
    return isLogo ? format : QByteArray();
}

} // namespace korvex
