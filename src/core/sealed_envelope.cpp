#include "core/sealed_envelope.h"

#include "core/base64.h"
#include "core/secret.h"
#include "core/settings.h"

#include <QCryptographicHash>
#include <QJsonObject>
#include <algorithm>
#include <array>
#include <openssl/aes.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>
#include <random>

namespace korvex {

namespace {

constexpr int kBlock = AES_BLOCK_SIZE;

const unsigned char* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

QByteArray textMember(const QJsonDocument& envelope, const char* name)
{
    return envelope[QLatin1String(name)].toString().toLocal8Bit();
}

QByteArray macOf(const QByteArray& iv, const QByteArray& value, const QByteArray& key)
{
    // The key counts as a zero-terminated text; a hex key has no zero byte.
    const int keyLength =
        static_cast<int>(qstrnlen(key.constData(), static_cast<uint>(key.size())));
    const QByteArray covered = iv + value;
    QByteArray digest(SHA256_DIGEST_LENGTH, Qt::Uninitialized);
    HMAC(EVP_sha256(), key.constData(), keyLength, bytesOf(covered),
         static_cast<size_t>(covered.size()), reinterpret_cast<unsigned char*>(digest.data()),
         nullptr);
    return digest.toHex();
}

/// AES-CBC over whole blocks. `mode` is AES_ENCRYPT or AES_DECRYPT; `iv` is used up.
QByteArray cbc(const QByteArray& input, const QByteArray& key, QByteArray iv, int mode)
{
    AES_KEY schedule;
    if (mode == AES_ENCRYPT)
        AES_set_encrypt_key(bytesOf(key), key.size() * 8, &schedule);
    else
        AES_set_decrypt_key(bytesOf(key), key.size() * 8, &schedule);
    QByteArray output(input.size(), Qt::Uninitialized);
    AES_cbc_encrypt(bytesOf(input), reinterpret_cast<unsigned char*>(output.data()),
                    static_cast<size_t>(input.size()), &schedule,
                    reinterpret_cast<unsigned char*>(iv.data()), mode);
    OPENSSL_cleanse(&schedule, sizeof schedule);
    return output;
}

/// Removes and wipes as many bytes as the last one says.
void cutPadding(QByteArray& plain)
{
    if (plain.isEmpty())
        return;
    const int size = std::max(0, plain.size() - static_cast<quint8>(plain.back()));
    OPENSSL_cleanse(plain.data() + size, static_cast<size_t>(plain.size() - size));
    plain.truncate(size);
}

QByteArray randomIv()
{
    std::random_device source;
    QByteArray iv(kBlock, Qt::Uninitialized);
    for (char& byte : iv)
        byte = static_cast<char>(source() & 0xff);
    return iv;
}

} // namespace

Result<QByteArray> deriveKey()
{
    QByteArray secret = readSecretKey();
    if (secret.isEmpty())
        return failure(ErrorCode::MissingSecretKey);
    QByteArray digest = QCryptographicHash::hash(secret, QCryptographicHash::Md5);
    wipe(secret);
    QByteArray key = digest.toHex();
    wipe(digest);
    return key;
}

QByteArray seal(const QByteArray& plain, const QByteArray& key)
{
    const int padding = kBlock - plain.size() % kBlock;
    QByteArray padded = plain + QByteArray(padding, static_cast<char>(padding));
    const QByteArray iv = randomIv();
    const QByteArray ivText = encodeBase64(iv);
    const QByteArray valueText = encodeBase64(cbc(padded, key, iv, AES_ENCRYPT));
    wipe(padded);
    const QJsonObject members{
        {QStringLiteral("iv"), QString::fromLatin1(ivText)},
        {QStringLiteral("mac"), QString::fromLatin1(macOf(ivText, valueText, key))},
        {QStringLiteral("tag"), QString()},
        {QStringLiteral("value"), QString::fromLatin1(valueText)},
    };
    return encodeBase64(QJsonDocument(members).toJson(QJsonDocument::Compact));
}

Result<QJsonDocument> parseEnvelope(const QByteArray& text)
{
    const QByteArray json = decodeBase64(text);
    if (json.isEmpty())
        return failure(ErrorCode::InvalidBase64, QStringLiteral("Invalid base64 data format"));
    QJsonParseError error{};
    QJsonDocument envelope = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        return failure(ErrorCode::InvalidJson);
    return envelope;
}

Result<QJsonDocument> verifyEnvelope(const QJsonDocument& envelope)
{
    auto key = deriveKey();
    if (!key)
        return std::unexpected(key.error());
    const QByteArray mac = macOf(textMember(envelope, "iv"), textMember(envelope, "value"), *key);
    wipe(*key);
    if (!equalInConstantTime(mac, textMember(envelope, "mac")))
        return failure(ErrorCode::MacMismatch, QStringLiteral("Data signature invalid"));
    return envelope;
}

Result<QByteArray> openEnvelope(const QJsonDocument& envelope)
{
    auto key = deriveKey();
    if (!key)
        return std::unexpected(key.error());
    const QByteArray iv = decodeBase64(textMember(envelope, "iv"));
    const QByteArray sealed = decodeBase64(textMember(envelope, "value"));
    if (iv.size() != kBlock || sealed.size() % kBlock != 0) {
        wipe(*key);
        return failure(ErrorCode::InvalidSealedData, QStringLiteral("Invalid json data format"));
    }
    QByteArray plain = cbc(sealed, *key, iv, AES_DECRYPT);
    wipe(*key);
    cutPadding(plain);
    return plain;
}

bool openSealedText(const QString& text, const std::function<bool(const QByteArray&)>& consumer)
{
    const auto envelope = parseEnvelope(text.toLocal8Bit());
    if (!envelope)
        return false;
    const auto verified = verifyEnvelope(*envelope);
    if (!verified)
        return false;
    auto plain = openEnvelope(*verified);
    if (!plain)
        return false;
    const bool accepted = consumer(*plain);
    wipe(*plain);
    return accepted;
}

} // namespace korvex
