#include "totp.h"

#include <array>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

namespace korvex::mfa_service {

namespace {

constexpr qint64 kStepSeconds = 30;
constexpr int kDigits = 6;
constexpr quint32 kModulus = 1'000'000;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";

} // namespace

QString totpCode(const QByteArray& secret, qint64 unixSeconds)
{
    std::array<unsigned char, 8> counter{};
    auto rest = static_cast<quint64>(unixSeconds / kStepSeconds);
    for (auto byte = counter.rbegin(); byte != counter.rend(); ++byte, rest >>= 8)
        *byte = static_cast<unsigned char>(rest & 0xff);

    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    HMAC(EVP_sha1(), secret.constData(), secret.size(), counter.data(), counter.size(),
         digest.data(), &size);

    // Dynamic truncation, RFC 4226, 5.3.
    const std::size_t offset = digest[size - 1] & 0x0fu;
    const quint32 number = (digest[offset] & 0x7fu) << 24 | quint32{digest[offset + 1]} << 16 |
                           quint32{digest[offset + 2]} << 8 | quint32{digest[offset + 3]};
    return QString::number(number % kModulus).rightJustified(kDigits, QLatin1Char('0'));
}

bool totpMatches(const QByteArray& secret, qint64 unixSeconds, const QString& code)
{
    const QByteArray given = code.toUtf8();
    if (given.size() != kDigits)
        return false;
    bool matches = false;
    for (const qint64 shift : {-kStepSeconds, qint64{0}, kStepSeconds}) {
        const QByteArray expected = totpCode(secret, unixSeconds + shift).toUtf8();
        matches |= CRYPTO_memcmp(expected.constData(), given.constData(), kDigits) == 0;
    }
    return matches;
}

std::optional<QByteArray> decodeBase32(const QString& text)
{
    static const QString alphabet = QString::fromLatin1(kAlphabet);
    QByteArray bytes;
    quint32 buffer = 0;
    int bits = 0;
    for (const QChar& character : text) {
        if (character == QLatin1Char(' ') || character == QLatin1Char('='))
            continue;
        const int value = alphabet.indexOf(character.toUpper());
        if (value < 0)
            return std::nullopt;
        buffer = buffer << 5 | static_cast<quint32>(value);
        bits += 5;
        if (bits >= 8) {
            bits -= 8;
            bytes.append(static_cast<char>(buffer >> bits & 0xff));
        }
    }
    return bytes.isEmpty() ? std::nullopt : std::optional{bytes};
}

QByteArray encodeBase32(const QByteArray& bytes)
{
    QByteArray text;
    quint32 buffer = 0;
    int bits = 0;
    for (const char byte : bytes) {
        buffer = buffer << 8 | static_cast<unsigned char>(byte);
        for (bits += 8; bits >= 5; bits -= 5)
            text.append(kAlphabet[buffer >> (bits - 5) & 31]);
    }
    if (bits > 0)
        text.append(kAlphabet[buffer << (5 - bits) & 31]);
    return text;
}

} // namespace korvex::mfa_service
