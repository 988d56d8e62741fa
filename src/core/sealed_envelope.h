#pragma once

#include "core/error.h"

#include <QByteArray>
#include <QJsonDocument>
#include <functional>

namespace korvex {

// Sealed text: base64 of the compact JSON object {"iv", "mac", "tag", "value"}. AES-256-CBC with
// PKCS#7 padding; the MAC is HMAC-SHA256, in lower-case hex, over the base64 texts of iv and value
// as they stand in the JSON. One 32-byte key serves both. Any thread may call.

/// The key: the lower-case hex text of the MD5 of the SecretKey setting (the text itself, not the
/// sixteen bytes). Error MissingSecretKey. The caller wipes it.
[[nodiscard]] Result<QByteArray> deriveKey();

/// Seals bytes under a key of 32 bytes.
QByteArray seal(const QByteArray& plain, const QByteArray& key);

/// The JSON of a sealed text. Errors InvalidBase64, InvalidJson.
[[nodiscard]] Result<QJsonDocument> parseEnvelope(const QByteArray& text);

/// The same document when its MAC is right. Errors MissingSecretKey, MacMismatch.
[[nodiscard]] Result<QJsonDocument> verifyEnvelope(const QJsonDocument& envelope);

/// The bytes sealed in a verified document. Errors MissingSecretKey, InvalidSealedData. The padding
/// is deliberately not checked: only the MAC tells a wrong key. The caller wipes the result.
[[nodiscard]] Result<QByteArray> openEnvelope(const QJsonDocument& envelope);

/// Opens a sealed text and gives the bytes to `consumer`. Returns its answer, or false when any
/// step failed. The bytes are wiped when the consumer returns.
[[nodiscard]] bool openSealedText(const QString& text,
                                  const std::function<bool(const QByteArray&)>& consumer);

} // namespace korvex
