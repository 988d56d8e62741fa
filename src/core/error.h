#pragma once

#include <QString>
#include <expected>
#include <utility>

namespace korvex {

/// The stable numbers of everything that can fail. Codes of the service and of other areas
/// deliberately share one range: a caller interprets only those that its own path can produce.
enum class ErrorCode : qint32 {
    // Sealed envelope and settings
    InvalidBase64 = 0,
    InvalidJson = 1,
    MacMismatch = 2,
    MissingSecretKey = 4,
    InvalidSealedData = 5,

    // Cards and their readers
    NoActiveCard = 7,
    NoFreeSlot = 8,
    SlotNotWritten = 10,
    UidNotRead = 11,
    CardRemoved = 12,
    CardNotSupported = 13,

    // As the service sends them; 9 is also ours, for an answer whose signature does not match
    InvalidSignature = 9,
    InvalidCredentials = 10,
    ServiceReserved = 11,
    ServiceBypass = 45,
    WrongApplication81 = 81,
    WrongApplication82 = 82,
    WrongApplication83 = 83,
    WrongApplication84 = 84,

    // The service's answer, as the client found it
    UnknownServiceError = 1000,
    ServerFailure = 1001,   ///< HTTP 5xx
    TransferFailure = 1002, ///< no answer at all, or one that HTTP refuses
    NotJsonObject = 1003,
};

/// An error as a value: its number, and a text for the log that may be empty.
template <typename Code>
struct KorvexError
{
    Code code;
    QString message;
};

template <typename T>
using Result = std::expected<T, KorvexError<ErrorCode>>;

inline std::unexpected<KorvexError<ErrorCode>> failure(ErrorCode code, QString message = {})
{
    return std::unexpected(KorvexError<ErrorCode>{code, std::move(message)});
}

} // namespace korvex
