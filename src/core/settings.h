#pragma once

#include "core/registry_keys.h"
#include "core/setting_definitions.h"

#include <QByteArray>
#include <QString>

namespace korvex {

// Typed reads: the stored value, else the setting's default. A setting of another type than the
// read asks for gives an empty value (text empty, number 0, false). A setting outside the catalogue
// is a programming error and throws std::out_of_range. Nothing is cached. Any thread.

QString readString(Setting id);
bool readBool(Setting id);
qint32 readNumber(Setting id);
qint64 readNumber64(Setting id);
/// A flag number may be stored as a REG_DWORD or a REG_QWORD.
qint64 readFlag(Setting id);

/// The shared secret in the form in which it keys signatures and envelopes; empty when there is
/// none. The caller wipes it.
QByteArray readSecretKey();

/// Whether a sign-in that cannot be decided lets the user in: only the exact text "bypass" does,
/// and it is the default.
bool failModeIsBypass();

} // namespace korvex
