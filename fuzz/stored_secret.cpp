#include "core/base64.h"
#include "otp/offline_secret.h"

#include "input.h"

#include <QTemporaryDir>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The real data protection, with a key of this run.
    static const QTemporaryDir root;
    qputenv("KORVEX_ROOT", root.path().toLocal8Bit());
    korvex::fuzz::require(!korvex::otp::protectSecret("makes the key").isEmpty());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    const QByteArray input = fuzz::bytesOf(data, size);

    // As text from the registry, and as the bytes inside its base64. No input is a valid blob of
    // the system.
    fuzz::require(!otp::unprotectSecret(QString::fromUtf8(input)));
    fuzz::require(!otp::unprotectSecret(QString::fromLatin1(encodeBase64(input))));

    const QString stored = otp::protectSecret(input);
    if (stored.isEmpty())
        return 0;
    fuzz::require(otp::unprotectSecret(stored) == input);
    // The input chooses the bit to flip.
    QByteArray blob = decodeBase64(stored.toLatin1());
    const auto byte = static_cast<int>(qHash(input) % static_cast<uint>(blob.size()));
    blob[byte] = static_cast<char>(blob[byte] ^ 1 << input.size() % 8);
    fuzz::require(!otp::unprotectSecret(QString::fromLatin1(encodeBase64(blob))));
    return 0;
}
