#include "misbehaviour.h"

#include <QRegularExpression>

namespace korvex::virtual_card {

std::optional<Misbehaviour::Corruption> parseCorruption(const QString& text)
{
    bool isCommand = false;
    bool isByte = false;
    const int command = text.section(':', 0, 0).toInt(&isCommand);
    const int byte = text.section(':', 1).toInt(&isByte);
    if (!isCommand || !isByte || command < 1)
        return std::nullopt;
    return Misbehaviour::Corruption{.command = command, .byte = byte};
}

std::optional<Misbehaviour::Answer> parseAnswer(const QString& text)
{
    const auto command = parseHex(text.section('=', 0, 0));
    const auto answer = parseHex(text.section('=', 1));
    if (!command || !answer)
        return std::nullopt;
    return Misbehaviour::Answer{.command = *command, .answer = *answer};
}

std::optional<Misbehaviour::Form> parseForm(const QString& text)
{
    if (text == "get-response")
        return Misbehaviour::Form::GetResponse;
    if (text == "wrong-length")
        return Misbehaviour::Form::WrongLength;
    return std::nullopt;
}

std::optional<QByteArray> parseHex(const QString& text)
{
    static const QRegularExpression kBytes(QStringLiteral("\\A([0-9A-Fa-f]{2})+\\z"));
    if (!kBytes.match(text).hasMatch())
        return std::nullopt;
    return QByteArray::fromHex(text.toLatin1());
}

} // namespace korvex::virtual_card
