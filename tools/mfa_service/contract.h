#pragma once

#include "answer.h"

#include <QJsonObject>
#include <QString>

/// What service and client have agreed on: the signature, the answers' envelope and the members of
/// the request bodies.
namespace korvex::mfa_service {

inline constexpr char kSignatureHeader[] = "X-Korvex-Signature";
inline constexpr char kInitPath[] = "/api/transaction/init";
inline constexpr char kCredentialsPath[] = "/api/transaction/credentials";
inline constexpr char kCompanyDataPath[] = "/api/company/data";

/// The `code` of a refusal. Of the codes that a client knows, 10, 11, 45 and 81 to 84 let the user
/// in. Refusals of this service that must deny therefore use numbers that a client does not know,
/// which it treats as a denial.
enum class ErrorCode {
    WrongSignature = 9,
    WrongSystemToken = 10,
    MalformedRequest = 20,
    UnknownUser = 21,
    UnknownAccessToken = 22,
};

/// HMAC-SHA-256 of the exact body bytes, as 64 lower-case hexadecimal digits.
QByteArray signature(const QByteArray& secretKey, const QByteArray& body);

/// A signed JSON answer with any body.
Answer signedAnswer(const QByteArray& secretKey, int status, const QByteArray& body);

/// The signed envelope {"status":"OK","result":RESULT}.
Answer success(const QByteArray& secretKey, const QJsonObject& result);

/// The signed envelope of a refusal, HTTP status 400.
Answer failure(const QByteArray& secretKey, int code, const QString& details,
               const QString& exception);

/// True when the body has exactly the agreed members, with the agreed types.
bool isInitBody(const QJsonObject& body);
bool isCredentialsBody(const QJsonObject& body);
bool isCompanyDataBody(const QJsonObject& body);

} // namespace korvex::mfa_service
