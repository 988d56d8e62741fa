#pragma once

class QString;

namespace korvex::otp {

/// Checks one-time passwords of some kind.
class BaseProvider
{
public:
    /// True when `code` is right now.
    virtual bool verify(const QString& code) = 0;

    virtual ~BaseProvider() = default;
};

} // namespace korvex::otp
