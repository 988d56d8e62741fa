#pragma once

#include <QByteArray>
#include <optional>

namespace korvex::rfid::sdk {

/// An open card, to which commands are sent. Tests stand a card of their own here.
class CardConnection
{
public:
    virtual ~CardConnection() = default;

    /// Sends one command; the answer with its two status bytes, or nothing.
    virtual std::optional<QByteArray> transmit(const QByteArray& command) = 0;
    /// The same while no other program may use the card.
    virtual std::optional<QByteArray> transmitInTransaction(const QByteArray& command) = 0;
};

} // namespace korvex::rfid::sdk
