#include "sealed_text.h"

#include "contract.h"
#include "transactions.h"

#include <QJsonDocument>
#include <array>
#include <memory>
#include <openssl/evp.h>

namespace korvex::mfa_service {

namespace {

constexpr int kIvSize = 16;
constexpr int kBlockSize = 16;
constexpr int kFingerprintDigits = 7;

QByteArray hexDigest(const EVP_MD* algorithm, const QByteArray& data)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (EVP_Digest(data.constData(), static_cast<std::size_t>(data.size()), digest.data(), &size,
                   algorithm, nullptr) != 1)
        qFatal("no digest");
    return QByteArray(reinterpret_cast<const char*>(digest.data()), static_cast<int>(size)).toHex();
}

const unsigned char* bytesOf(const QByteArray& data)
{
    return reinterpret_cast<const unsigned char*>(data.constData());
}

QByteArray encrypt(const QByteArray& plain, const QByteArray& key, const QByteArray& iv)
{
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    QByteArray encrypted(plain.size() + kBlockSize, '\0');
    auto* const out = reinterpret_cast<unsigned char*>(encrypted.data());
    int size = 0;
    int rest = 0;
    if (!context ||
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, bytesOf(key), bytesOf(iv)) !=
            1 ||
        EVP_EncryptUpdate(context.get(), out, &size, bytesOf(plain), plain.size()) != 1 ||
        EVP_EncryptFinal_ex(context.get(), out + size, &rest) != 1)
        qFatal("no encryption");
    encrypted.truncate(size + rest);
    return encrypted;
}

} // namespace

QByteArray sealText(const QByteArray& plain, const QByteArray& secretKey)
{
    // The hexadecimal text is the key, not the digest: 32 characters for AES-256.
    const QByteArray key = hexDigest(EVP_md5(), secretKey);
    const QByteArray iv = randomBytes(kIvSize);
    const QByteArray ivText = iv.toBase64();
    const QByteArray valueText = encrypt(plain, key, iv).toBase64();
    const QJsonObject envelope{{"iv", QString::fromLatin1(ivText)},
                               {"mac", QString::fromLatin1(signature(key, ivText + valueText))},
                               {"tag", QString("")},
                               {"value", QString::fromLatin1(valueText)}};
    return QJsonDocument(envelope).toJson(QJsonDocument::Compact).toBase64();
}

QByteArray fingerprint(const QByteArray& secret)
{
    return hexDigest(EVP_sha256(), secret).left(kFingerprintDigits);
}

} // namespace korvex::mfa_service
