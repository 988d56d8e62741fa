// Opening a sealed text, against the same steps written with plain calls of libcrypto.

#include "core/sealed_envelope.h"

#include "comparison.h"
#include "core/settings.h"
#include "temporary_root.h"

#include <QJsonObject>
#include <array>
#include <cstdio>
#include <openssl/aes.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/md5.h>
#include <openssl/sha.h>

namespace {

constexpr double kTarget = 1.5;
constexpr int kPlainSize = 300;

const unsigned char* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

template <std::size_t Size>
std::array<char, 2 * Size> hex(const std::array<unsigned char, Size>& bytes)
{
    std::array<char, 2 * Size> text;
    for (std::size_t i = 0; i < Size; ++i) {
        text[2 * i] = "0123456789abcdef"[bytes[i] >> 4];
        text[2 * i + 1] = "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
}

std::array<char, 2 * MD5_DIGEST_LENGTH> key()
{
    const QByteArray secret = korvex::readSecretKey();
    std::array<unsigned char, MD5_DIGEST_LENGTH> digest;
    MD5(bytesOf(secret), static_cast<std::size_t>(secret.size()), digest.data());
    return hex(digest);
}

QByteArray decode(const QByteArray& text)
{
    QByteArray bytes(text.size() / 4 * 3, Qt::Uninitialized);
    EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), bytesOf(text), text.size());
    bytes.chop(text.endsWith("==") ? 2 : text.endsWith('=') ? 1 : 0);
    return bytes;
}

QByteArray openDirectly(const QString& text)
{
    const QJsonDocument envelope = QJsonDocument::fromJson(decode(text.toLatin1()));
    const QByteArray iv = envelope[QLatin1String("iv")].toString().toLatin1();
    const QByteArray value = envelope[QLatin1String("value")].toString().toLatin1();
    const QByteArray mac = envelope[QLatin1String("mac")].toString().toLatin1();

    const QByteArray covered = iv + value;
    const auto macKey = key();
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest;
    HMAC(EVP_sha256(), macKey.data(), static_cast<int>(macKey.size()), bytesOf(covered),
         static_cast<std::size_t>(covered.size()), digest.data(), nullptr);
    const auto expected = hex(digest);
    if (static_cast<std::size_t>(mac.size()) != expected.size() ||
        CRYPTO_memcmp(mac.constData(), expected.data(), expected.size()) != 0)
        return {};

    // The product derives the key again for each of the two steps, so this does too.
    const auto cipherKey = key();
    QByteArray initial = decode(iv);
    const QByteArray sealed = decode(value);
    AES_KEY schedule;
    AES_set_decrypt_key(reinterpret_cast<const unsigned char*>(cipherKey.data()), 256, &schedule);
    QByteArray plain(sealed.size(), Qt::Uninitialized);
    AES_cbc_encrypt(bytesOf(sealed), reinterpret_cast<unsigned char*>(plain.data()),
                    static_cast<std::size_t>(sealed.size()), &schedule,
                    reinterpret_cast<unsigned char*>(initial.data()), AES_DECRYPT);
    plain.chop(static_cast<unsigned char>(plain.back()));
    return plain;
}

} // namespace

int main()
{
    const korvex::bench::TemporaryRoot root;
    const QByteArray plain(kPlainSize, 's');
    if (!korvex::mainKey().writeString(QStringLiteral("SecretKey"), QStringLiteral("bench-key")))
        qFatal("the registry cannot be written");
    const QString text =
        QString::fromLatin1(korvex::seal(plain, korvex::deriveKey().value_or(QByteArray())));

    const auto ours = [&] {
        const auto isPlain = [&](const QByteArray& opened) { return opened == plain; };
        if (!korvex::openSealedText(text, isPlain))
            qFatal("the text does not open");
    };
    const auto direct = [&] {
        if (openDirectly(text) != plain)
            qFatal("the text does not open directly");
    };
    const auto reads = [] {
        korvex::readSecretKey();
        korvex::readSecretKey();
    };
    using namespace korvex::bench;
    printHeading("the same steps straight on libcrypto, with the same reads of the key");
    const bool met = report(compareCalls("opening 300 sealed bytes", ours, direct), kTarget);
    std::fprintf(stderr, "On either side, the two reads of the key from the registry: %.2f us\n",
                 median(compareCalls("", reads, direct).ours));
    return met ? 0 : 1;
}
