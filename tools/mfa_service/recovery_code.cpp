#include "recovery_code.h"

#include <QRegularExpression>
#include <memory>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace korvex::mfa_service {

namespace {

using Key = std::unique_ptr<RSA, decltype(&RSA_free)>;

Key readKey(const QByteArray& pem)
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(pem.constData(), pem.size()), BIO_free);
    // With a pass phrase, even an empty one, libcrypto does not ask for one.
    char passPhrase[] = "";
    return Key(PEM_read_bio_RSAPrivateKey(bio.get(), nullptr, nullptr, passPhrase), RSA_free);
}

} // namespace

std::expected<QString, QString> tellRecoveryCode(const QString& stored,
                                                 const QByteArray& privateKeyPem)
{
    const Key key = readKey(privateKeyPem);
    if (!key)
        return std::unexpected(QStringLiteral("the private key cannot be read"));
    const auto cipher = QByteArray::fromBase64Encoding(stored.trimmed().toUtf8(),
                                                       QByteArray::AbortOnBase64DecodingErrors);
    if (!cipher || (*cipher).size() != RSA_size(key.get())) {
        return std::unexpected(QStringLiteral("a stored recovery code is Base64 of %1 bytes")
                                   .arg(RSA_size(key.get())));
    }
    QByteArray block((*cipher).size(), '\0');
    const int size = RSA_private_decrypt(
        block.size(), reinterpret_cast<const unsigned char*>((*cipher).constData()),
        reinterpret_cast<unsigned char*>(block.data()), key.get(), RSA_NO_PADDING);
    // A salt follows the code. It may be cut anywhere, together with the end of the JSON text.
    static const QRegularExpression kBlock(
        QStringLiteral("\\A\\{\"code\":\"([0-9]{6})\",\"_\":\""));
    const auto match = kBlock.match(QString::fromLatin1(block));
    if (size != block.size() || !match.hasMatch())
        return std::unexpected(QStringLiteral("this was not encrypted for the private key"));
    return match.captured(1);
}

} // namespace korvex::mfa_service
