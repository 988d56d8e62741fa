#pragma once

#include <QString>
#include <chrono>
#include <functional>

namespace korvex {

/// Runs a program and waits at most 30 seconds for it. True when it ended normally with exit code
/// 0; `output` and `errors` take what it wrote, trimmed, and stay as they are when it wrote
/// nothing. Every failure is logged. The argument string is passed unchanged. Any thread.
bool runProcess(const QString& program, const QString& nativeArguments, QString& output,
                QString& errors);

/// The same with another limit than 30 seconds.
bool runProcessWithin(std::chrono::milliseconds limit, const QString& program,
                      const QString& nativeArguments, QString& output, QString& errors);

/// The form of runProcess(), so that a test can answer in its place.
using ProcessRunner = std::function<bool(const QString& program, const QString& nativeArguments,
                                         QString& output, QString& errors)>;

} // namespace korvex
