#pragma once

#include <QByteArray>
#include <QString>
#include <chrono>
#include <optional>
#include <vector>

namespace korvex::virtual_card {

/// What card and reader do differently from the standard. Commands are counted from 1, from the
/// moment that the misbehaviour is set.
struct Misbehaviour
{
    enum class Form {
        Plain,
        GetResponse, ///< data is announced by 61 xx and handed out to GET RESPONSE
        WrongLength, ///< 6C xx for data, unless the command names its exact length
    };
    struct Corruption
    {
        int command = 1;
        int byte = 0; ///< of the answer; negative: from its end, -1 is the last byte of the status
    };
    struct Answer
    {
        QByteArray command;
        QByteArray answer; ///< with the status word, if it is to have one
    };

    bool refuseVolatileKeys = false;
    /// The card leaves at the command after that many, without answering it.
    std::optional<int> vanishAfter{};
    /// That last command is still executed.
    bool vanishAfterExecuting = false;
    /// One answer gets all bits of a byte flipped.
    std::optional<Corruption> corruption{};
    std::chrono::milliseconds delay{0}; ///< before each answer
    Form form = Form::Plain;
    /// Answers to whole commands, given instead of the card's own. Several for one command are
    /// given in turn, so that a card can answer in frames.
    std::vector<Answer> answers{};
};

/// Adds what a text says: "refuse-volatile-keys", "vanish-after=N", "vanish-after-executing=N",
/// "corrupt=COMMAND:BYTE", "delay=MILLISECONDS", "get-response", "wrong-length" or
/// "answer=COMMAND:ANSWER" in hexadecimal. False when it is none of these.
bool parseMisbehaviour(const QString& text, Misbehaviour& misbehaviour);
/// Bytes from hexadecimal digits, two each; nothing for anything else or for no digits.
std::optional<QByteArray> parseHex(const QString& text);

} // namespace korvex::virtual_card
