#pragma once

#include <QByteArray>
#include <memory>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace korvex::mfa_service {

/// A self-signed server certificate for localhost and 127.0.0.1 (EC P-256, valid for 30 days) and
/// its key, which exists in memory only.
struct Certificate
{
    std::unique_ptr<X509, decltype(&X509_free)> certificate{nullptr, X509_free};
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key{nullptr, EVP_PKEY_free};
    QByteArray pem{};
};

/// A new certificate; all members are empty when libcrypto fails.
Certificate makeCertificate();

} // namespace korvex::mfa_service
