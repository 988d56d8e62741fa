#pragma once

#include "context/public_address.h"

class QString;

namespace korvex {

/// Deletes what the service's page remembers of this device when the network of the machine has
/// changed since the user's last sign-in, and stores the network seen now.
///
/// `policy` says how the network is recognised: 1 by the public ASN, 2 by the public IPv4 address;
/// any other does nothing. Has to run before the web engine opens the user's cookies. Blocks while
/// `services` are asked. Whatever fails is logged, and the device stays remembered.
void revokeRememberedDevice(qint32 policy, const AddressServices& services = addressServices());

/// Deletes the files "Cookies" and "Cookies-journal" of a web storage folder, nothing else. True
/// when neither is there afterwards; a file that stays is logged.
bool clearRememberedDevice(const QString& storage);

} // namespace korvex
