#pragma once

#include <QString>

namespace korvex {

/// The security identifier of an account as text; empty, with a log line, when there is none.
QString sidOf(const QString& account);

} // namespace korvex
