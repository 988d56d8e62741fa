#pragma once

#include "core/error.h"

#include <QJsonObject>

class QByteArray;

namespace korvex {

/// Reads the service's answer {"status", "result"}: the non-empty `result` of a status "OK", else
/// the error that `result` names (`code`, `details`, `exception`).
/// Errors: those the service reports, UnknownServiceError, NotJsonObject.
[[nodiscard]] Result<QJsonObject> readServiceEnvelope(const QByteArray& body);

} // namespace korvex
