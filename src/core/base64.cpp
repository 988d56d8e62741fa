#include "core/base64.h"

#include "core/digit_table.h"
#include "core/log.h"

namespace korvex {

namespace {

constexpr auto kDigits =
    digitTable("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");

QByteArray refuse(const char* reason)
{
    logger().logError(QString::fromLatin1(reason));
    return {};
}

int paddingOf(const QByteArray& text)
{
    if (!text.endsWith('='))
        return 0;
    return text.endsWith("==") ? 2 : 1;
}

} // namespace

QByteArray encodeBase64(const QByteArray& bytes)
{
    return bytes.toBase64();
}

QByteArray decodeBase64(const QByteArray& text)
{
    if (text.size() % 4 != 0)
        return refuse("Invalid base64 length!");

    const int padding = paddingOf(text);
    const int digits = text.size() - padding;
    QByteArray bytes(text.size() / 4 * 3 - padding, Qt::Uninitialized);
    char* out = bytes.data();
    const char* const end = out + bytes.size();
    quint32 group = 0;
    for (int i = 0; i < text.size(); ++i) {
        const quint8 character = static_cast<quint8>(text[i]);
        const quint8 digit = i < digits ? kDigits[character] : 0;
        if (digit == kNoDigit)
            return refuse(character == '=' ? "Invalid padding in base64!"
                                           : "Invalid character in base64!");
        group = group << 6 | digit;
        if (i % 4 != 3)
            continue;
        for (int shift = 16; shift >= 0 && out != end; shift -= 8)
            *out++ = static_cast<char>(group >> shift & 0xff);
        group = 0;
    }
    return bytes;
}

} // namespace korvex
