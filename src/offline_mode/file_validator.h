#pragma once

#include <QObject>
#include <QString>

namespace korvex {

/// Judges files that come from outside before they are shown.
class FileValidator : public QObject
{
    Q_OBJECT

public:
    /// Whether the file is an image that can be decoded, of at most 1 MiB and 2048 pixels a side.
    Q_INVOKABLE static bool isImage(const QString& path);
};

} // namespace korvex
