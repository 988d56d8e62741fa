#include "core/base64.h"
#include "core/sealed_envelope.h"
#include "core/settings.h"

#include "input.h"

namespace korvex {

/// A fixed key: reading the one in the registry would take most of the time.
QByteArray readSecretKey()
{
    return "fuzzed";
}

} // namespace korvex

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    const QByteArray input = fuzz::bytesOf(data, size);

    // As a text from the service, and as the bytes inside the outer base64. Opened even with a
    // wrong MAC: whoever holds the key can make any envelope with a correct one.
    for (const QByteArray& text : {input, encodeBase64(input)}) {
        if (const auto envelope = parseEnvelope(text)) {
            (void)verifyEnvelope(*envelope);
            (void)openEnvelope(*envelope);
        }
        (void)openSealedText(QString::fromUtf8(text), [](const QByteArray&) { return true; });
    }

    const QByteArray sealed = seal(input, deriveKey().value_or(QByteArray()));
    const auto isInput = [&input](const QByteArray& opened) { return opened == input; };
    fuzz::require(openSealedText(QString::fromLatin1(sealed), isInput));
    return 0;
}
