#include "api/error_policy.h"

#include <QtGlobal>

namespace korvex {

ErrorPolicy errorPolicy(ErrorCode code, bool failModeBypass)
{
    switch (code) {
    case ErrorCode::InvalidSignature:
        return {QT_TRANSLATE_NOOP("korvex::Transaction",
                                  "Access Denied!\nIncorrect Korvex API request."),
                false, "Korvex server response exception"};
    case ErrorCode::InvalidCredentials:
        // Deliberately granted: credentials that the service rejects are the installation's fault.
        return {QT_TRANSLATE_NOOP("korvex::Transaction", "Incorrect Korvex API credentials."), true,
                "Korvex server response exception"};
    case ErrorCode::ServiceBypass:
        return {nullptr, true, "Korvex server response bypass"};
    case ErrorCode::WrongApplication81:
    case ErrorCode::WrongApplication82:
    case ErrorCode::WrongApplication83:
    case ErrorCode::WrongApplication84:
    case ErrorCode::NotJsonObject:
        return {nullptr, true,
                "Unexpected response received. Are you using API credentials dedicated for "
                "Windows Logon & RDP application?"};
    case ErrorCode::UnknownServiceError:
        return {nullptr, false, "Korvex server unsupported failure response"};
    case ErrorCode::ServerFailure:
    case ErrorCode::TransferFailure:
        // The only errors that ask FailMode.
        if (failModeBypass)
            return {nullptr, true, "No or invalid response from Korvex API! FailMode bypass"};
        return {nullptr, false, "No or invalid response from Korvex API! FailMode deny"};
    default:
        // Deliberately granted, code 11 included: a gap in this table must not lock users out.
        return {nullptr, true, "Broken error logic. Contact with Korvex team"};
    }
}

} // namespace korvex
