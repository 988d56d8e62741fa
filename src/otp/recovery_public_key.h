#pragma once

#include <QByteArray>

namespace korvex {

/// The public key that recovery codes are encrypted with, as PEM text: the file that the build
/// option KORVEX_RECOVERY_PUBLIC_KEY names.
QByteArray recoveryPublicKey();

} // namespace korvex
