#pragma once

class QString;

namespace korvex::otp {

/// Checks one-time passwords of some kind.
class BaseProvider
{
public:
    /// True when `code` is valid at this moment.
    virtual bool verify(const QString& code) = 0;

    virtual ~BaseProvider() = default;
};

} // namespace korvex::otp
