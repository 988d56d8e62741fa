#pragma once

#include <QByteArray>
#include <QString>

namespace korvex {

/// Overwrites a secret with zeros. Reaches only the memory that this object alone holds: a shared
/// copy elsewhere keeps its text.
void wipe(QByteArray& secret);
void wipe(QString& secret);

/// Whether two texts are equal, in a time that depends on their lengths only.
bool equalInConstantTime(const QByteArray& left, const QByteArray& right);

} // namespace korvex
