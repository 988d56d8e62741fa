#include "certificate.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace korvex::mfa_service {

namespace {

constexpr long kHour = 3600;
constexpr long kLifetime = 30 * 24 * kHour;

EVP_PKEY* makeKey()
{
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
        EVP_PKEY_CTX_new_id(EVP_PKEY_EC, nullptr), EVP_PKEY_CTX_free);
    EVP_PKEY* key = nullptr;
    if (!context || EVP_PKEY_keygen_init(context.get()) != 1 ||
        EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), NID_X9_62_prime256v1) != 1 ||
        EVP_PKEY_keygen(context.get(), &key) != 1) {
        return nullptr;
    }
    return key;
}

bool setSerialNumber(X509* certificate)
{
    // Random, because a browser refuses two certificates of one issuer with the same number.
    quint64 serial = 0;
    return RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1 &&
           ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1) == 1;
}

bool setNames(X509* certificate)
{
    X509_NAME* name = X509_get_subject_name(certificate);
    return X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                      reinterpret_cast<const unsigned char*>("localhost"), -1, -1,
                                      0) == 1 &&
           X509_set_issuer_name(certificate, name) == 1;
}

bool addExtension(X509* certificate, int id, const char* value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, id, value), X509_EXTENSION_free);
    return extension && X509_add_ext(certificate, extension.get(), -1) == 1;
}

QByteArray toPem(X509* certificate)
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), BIO_free);
    if (!bio || PEM_write_bio_X509(bio.get(), certificate) != 1)
        return {};
    char* text = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &text);
    return {text, static_cast<int>(size)};
}

} // namespace

Certificate makeCertificate()
{
    constexpr long kVersion3 = 2;
    Certificate made;
    made.key.reset(makeKey());
    made.certificate.reset(X509_new());
    X509* const certificate = made.certificate.get();
    const bool ok = made.key && certificate && X509_set_version(certificate, kVersion3) == 1 &&
                    setSerialNumber(certificate) && setNames(certificate) &&
                    X509_gmtime_adj(X509_getm_notBefore(certificate), -kHour) &&
                    X509_gmtime_adj(X509_getm_notAfter(certificate), kLifetime) &&
                    X509_set_pubkey(certificate, made.key.get()) == 1 &&
                    addExtension(certificate, NID_basic_constraints, "critical,CA:FALSE") &&
                    addExtension(certificate, NID_key_usage, "critical,digitalSignature") &&
                    addExtension(certificate, NID_ext_key_usage, "serverAuth") &&
                    addExtension(certificate, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1") &&
                    X509_sign(certificate, made.key.get(), EVP_sha256()) > 0;
    if (ok)
        made.pem = toPem(certificate);
    return made.pem.isEmpty() ? Certificate{} : std::move(made);
}

} // namespace korvex::mfa_service
