#pragma once

#include <QObject>
#include <QString>

namespace korvex {

/// Judges files that come from outside before they are shown.
class FileValidator : public QObject
{
    Q_OBJECT

public:
    /// Whether the file is a logo that can be shown: see logoFormat().
    Q_INVOKABLE static bool isImage(const QString& path);
};

} // namespace korvex
