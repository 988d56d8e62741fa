#include "otp/recovery_code_controller.h"

#include "core/base64.h"
#include "core/log.h"
#include "core/secret.h"
#include "core/settings.h"

#include <array>
#include <memory>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <random>
#include <utility>

namespace korvex {

namespace {

/// In characters, which take up to three bytes each in UTF-8. Even then the smallest block holds
/// the whole code and some of the salt, so a code is never cut to the text of another one.
constexpr int kLongestTypedCode = 12;

using Failure = KorvexError<RecoveryCodeError>;
using RsaKey = std::unique_ptr<RSA, decltype(&RSA_free)>;

Failure failureOf(RecoveryCodeError code, const QString& detail = {})
{
    static constexpr std::array<const char*, 5> kTexts = {
        "Failed to store recovery code in the reg",
        "Failed to encrypt recovery code",
        "No public key found",
        "Given public key is invalid",
        "No salt found",
    };
    const QString text = QLatin1String(kTexts.at(static_cast<size_t>(code)));
    return {code, detail.isEmpty() ? text : text + QStringLiteral(". ") + detail};
}

RsaKey readPublicKey(const QByteArray& pem)
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(
        BIO_new_mem_buf(pem.constData(), pem.size()), &BIO_free);
    return {memory ? PEM_read_bio_RSA_PUBKEY(memory.get(), nullptr, nullptr, nullptr) : nullptr,
            &RSA_free};
}

/// A JSON object of the code and the salt, cut or padded with zeros to `size` bytes. Code and salt
/// are not escaped, and a long salt is cut together with the end of the object. That does no harm:
/// a block is only compared with blocks that are made in the same way.
QByteArray plainBlock(const QString& code, const QByteArray& salt, int size)
{
    QByteArray codeBytes = code.toUtf8();
    QByteArray block;
    block.reserve(codeBytes.size() + salt.size() + size); // growing would leave copies in memory
    block += R"({"code":")";
    block += codeBytes;
    block += R"(","_":")";
    block += salt;
    block += R"("})";
    wipe(codeBytes);
    if (block.size() < size)
        block.append(size - block.size(), '\0');
    OPENSSL_cleanse(block.data() + size, static_cast<size_t>(block.size() - size));
    block.truncate(size);
    return block;
}

QString opensslError()
{
    std::array<char, 256> text{};
    return QString::fromLatin1(ERR_error_string(ERR_get_error(), text.data()));
}

/// Uniform in 100000 to 999999.
QString randomCode()
{
    std::mt19937 generator{std::random_device{}()};
    return QString::number(std::uniform_int_distribution(0, 899999)(generator) + 100000);
}

} // namespace

std::expected<QString, Failure> encryptRecoveryCode(const QString& code,
                                                    const QByteArray& publicKey)
{
    QByteArray salt = readSecretKey();
    if (salt.isEmpty())
        return std::unexpected(failureOf(RecoveryCodeError::NoSalt));
    if (publicKey.isEmpty()) {
        wipe(salt);
        return std::unexpected(failureOf(RecoveryCodeError::NoPublicKey));
    }
    ERR_clear_error(); // older errors would be taken for the cause
    const RsaKey key = readPublicKey(publicKey);
    if (!key) {
        wipe(salt);
        return std::unexpected(failureOf(RecoveryCodeError::InvalidPublicKey));
    }
    const int size = RSA_size(key.get());
    QByteArray block = plainBlock(code, salt, size);
    wipe(salt);
    QByteArray encrypted(size, '\0');
    const int result = RSA_public_encrypt(
        size, reinterpret_cast<const unsigned char*>(block.constData()),
        reinterpret_cast<unsigned char*>(encrypted.data()), key.get(), RSA_NO_PADDING);
    wipe(block);
    if (result < 0)
        return std::unexpected(failureOf(RecoveryCodeError::NotEncrypted, opensslError()));
    return QString::fromLatin1(encodeBase64(encrypted));
}

RecoveryCodeController::RecoveryCodeController(QByteArray publicKey)
    : m_publicKey(std::move(publicKey))
{}

bool RecoveryCodeController::regenCode() const
{
    const auto refuse = [](const Failure& failure) {
        logger().logError(QStringLiteral("RecoveryCodeController::regenCode() ") + failure.message);
        return false;
    };
    QString code = randomCode();
    const auto encrypted = encryptRecoveryCode(code, m_publicKey);
    wipe(code);
    if (!encrypted)
        return refuse(encrypted.error());
    const QString name = definitionOf(Setting::RecoveryCode).name;
    if (!dataKey().writeString(name, *encrypted))
        return refuse(failureOf(RecoveryCodeError::NotStored));
    return true;
}

bool RecoveryCodeController::verifyCode(const QString& code) const
{
    if (code.size() > kLongestTypedCode)
        return false;
    const auto encrypted = encryptRecoveryCode(code, m_publicKey);
    if (!encrypted) {
        logger().logError(QStringLiteral("RecoveryCodeController::verifyCode() ") +
                          encrypted.error().message);
        return false;
    }
    // An absent value reads as empty, and an encrypted text is never empty.
    return readString(Setting::RecoveryCode) == *encrypted;
}

} // namespace korvex
