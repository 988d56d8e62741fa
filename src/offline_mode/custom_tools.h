#pragma once

#include <QObject>
#include <QString>

namespace korvex::offline_mode {

/// What the screen needs to shape text before it is shown.
class CustomTools : public QObject
{
    Q_OBJECT

public:
    static constexpr int kCodeLength = 6;

    /// The first six digits (0 to 9) of a text that was typed or pasted; other characters, such as
    /// the blank in "123 456", do not count.
    Q_INVOKABLE static QString codeDigits(const QString& text);
};

} // namespace korvex::offline_mode
