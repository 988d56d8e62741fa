#pragma once

#include "context/public_address.h"
#include "core/non_movable_copyable.h"

#include <QDeadlineTimer>
#include <memory>

class QString;

namespace korvex {

/// Deletes what the service's page remembers of this device when the network of the machine has
/// changed since the user's last sign-in, and stores the network seen now.
///
/// The network is looked up beside the sign-in's own requests, on a thread of its own, within one
/// RequestTimeout. Whatever fails is logged, and the device stays remembered. GUI thread.
class DeviceRevocation : private NonMovableCopyable
{
public:
    /// Starts the look-up. `policy` says how the network is recognised: 1 by the public ASN, 2 by
    /// the public IPv4 address; with any other nothing is done.
    explicit DeviceRevocation(qint32 policy, const AddressServices& services = addressServices());
    /// Gives up a look-up that is not finished.
    ~DeviceRevocation();

    /// Waits for the look-up in an event loop of its own, then stores and deletes. Has to return
    /// before the web engine opens the user's cookies. Does nothing after a verdict.
    void finish();

private:
    class LookUp;

    std::unique_ptr<LookUp> m_lookUp;
    QDeadlineTimer m_deadline;
};

/// Deletes the files "Cookies" and "Cookies-journal" of a web storage folder, nothing else. True
/// when neither is there afterwards; a file that stays is logged.
bool clearRememberedDevice(const QString& storage);

} // namespace korvex
