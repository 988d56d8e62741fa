#pragma once

#include "context/public_address.h"

class QString;

namespace korvex {

/// Drops what the service's page remembers of this device when the network of the machine is
/// another than at the user's last sign-in, and keeps the network seen now.
///
/// `policy` says what stands for the network: 1 the public ASN, 2 the public IPv4 address; any
/// other does nothing. Has to run before the web engine opens the user's cookies. Blocks while
/// `services` are asked. Whatever fails is logged, and the device stays remembered.
void revokeRememberedDevice(qint32 policy, const AddressServices& services = addressServices());

/// Deletes the files "Cookies" and "Cookies-journal" of a web storage folder, nothing else. True
/// when neither is there afterwards; a file that stays is logged.
bool clearRememberedDevice(const QString& storage);

} // namespace korvex
