#pragma once

class QString;

namespace korvex {

/// Whether a text is an IPv4 address in dotted form or an IPv6 address in any form, a zone suffix
/// included; white space around it is accepted. Any thread.
bool isValidIpAddress(const QString& text);

} // namespace korvex
