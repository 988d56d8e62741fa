#pragma once

#include "core/error.h"

namespace korvex {

/// What a failed request of a sign-in leads to.
struct ErrorPolicy
{
    const char* messageBox; ///< shown before the verdict, untranslated; null for none
    bool granted;
    const char* reason;
};

/// The one table that turns errors of the service into verdicts. It lets the user in on errors that
/// point to a misconfigured installation; those rows are deliberate.
ErrorPolicy errorPolicy(ErrorCode code, bool failModeBypass);

} // namespace korvex
