#pragma once

#include "rfid/sdk/card_connection.h"

#include <QHash>
#include <QVector>

namespace korvex::test {

/// What was sent to a card, and what it answers, both as hex texts.
struct CardScript
{
    QByteArrayList sent;
    QHash<QByteArray, QByteArray> answers; ///< to commands; any other gets `otherwise`
    QByteArray otherwise = "9000";         ///< empty: the exchange fails
};

/// A card that answers from a script.
class ScriptedConnection final : public rfid::sdk::CardConnection
{
public:
    explicit ScriptedConnection(CardScript& script)
        : m_script(script)
    {}

    std::optional<QByteArray> transmit(const QByteArray& command) override
    {
        const QByteArray hex = command.toHex().toUpper();
        m_script.sent.append(hex);
        const QByteArray answer = m_script.answers.value(hex, m_script.otherwise);
        return answer.isEmpty() ? std::nullopt : std::optional(QByteArray::fromHex(answer));
    }
    std::optional<QByteArray> transmitInTransaction(const QByteArray& command) override
    {
        return transmit(command);
    }

private:
    CardScript& m_script;
};

} // namespace korvex::test
