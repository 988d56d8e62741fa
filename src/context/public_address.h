#pragma once

#include <QString>
#include <QStringList>

namespace korvex {

/// The services on the internet that say where this machine is seen.
struct AddressServices
{
    QStringList echo;    ///< addresses whose answer is the caller's IPv4 address as text
    QString information; ///< "%1" is replaced by an address; the answer is JSON with connection.asn
};

/// The services that the library was built with.
const AddressServices& addressServices();

// Both lookups block in an event loop of their own, RequestTimeout at most for each request. A
// request that fails leaves its log line. An answer of more than 4 KiB (echo) or 64 KiB
// (information) counts as failed.

/// The public IPv4 address; empty when no service says one. A service is asked twice before it is
/// chosen, then once more for the value, which is given as it comes, without another look at it.
QString getPublicIp(const AddressServices& services = addressServices());

/// The number of the network that the public address belongs to, in decimal: "0" when the answer
/// does not say; a null text when there is no answer or no JSON object.
QString getPublicAsn(const AddressServices& services = addressServices());

} // namespace korvex
