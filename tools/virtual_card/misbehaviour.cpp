#include "misbehaviour.h"

#include <QRegularExpression>

namespace korvex::virtual_card {

namespace {

constexpr int kMost = 1'000'000;

std::optional<int> parseNumber(const QString& text, int least = 0)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber && number >= least && number <= kMost ? std::optional{number} : std::nullopt;
}

bool parseCorruption(const QString& value, Misbehaviour& misbehaviour)
{
    const auto command = parseNumber(value.section(':', 0, 0), 1);
    const auto byte = parseNumber(value.section(':', 1), -kMost);
    if (command && byte)
        misbehaviour.corruption = Misbehaviour::Corruption{.command = *command, .byte = *byte};
    return command && byte;
}

bool parseAnswer(const QString& value, Misbehaviour& misbehaviour)
{
    const auto command = parseHex(value.section(':', 0, 0));
    const auto answer = parseHex(value.section(':', 1));
    if (command && answer)
        misbehaviour.answers.push_back({.command = *command, .answer = *answer});
    return command && answer;
}

} // namespace

bool parseMisbehaviour(const QString& text, Misbehaviour& misbehaviour)
{
    const QString name = text.section('=', 0, 0);
    const QString value = text.section('=', 1);
    if (text == "refuse-volatile-keys")
        return misbehaviour.refuseVolatileKeys = true;
    if (name == "vanish-after" || name == "vanish-after-executing") {
        misbehaviour.vanishAfter = parseNumber(value);
        misbehaviour.vanishAfterExecuting = name == "vanish-after-executing";
        return misbehaviour.vanishAfter.has_value();
    }
    if (name == "corrupt")
        return parseCorruption(value, misbehaviour);
    if (name == "answer")
        return parseAnswer(value, misbehaviour);
    if (name == "delay") {
        const auto delay = parseNumber(value);
        misbehaviour.delay = std::chrono::milliseconds(delay.value_or(0));
        return delay.has_value();
    }
    if (text != "get-response" && text != "wrong-length")
        return false;
    misbehaviour.form =
        text == "get-response" ? Misbehaviour::Form::GetResponse : Misbehaviour::Form::WrongLength;
    return true;
}

std::optional<QByteArray> parseHex(const QString& text)
{
    static const QRegularExpression kBytes(QStringLiteral("\\A([0-9A-Fa-f]{2})+\\z"));
    if (!kBytes.match(text).hasMatch())
        return std::nullopt;
    return QByteArray::fromHex(text.toLatin1());
}

} // namespace korvex::virtual_card
