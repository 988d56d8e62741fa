#pragma once

#include <QByteArray>
#include <optional>

namespace korvex::rfid::sdk {

/// An open card that commands are sent to. Tests implement it without a reader.
class CardConnection
{
public:
    virtual ~CardConnection() = default;

    /// Sends one command and returns the answer with its two status bytes; nothing on failure.
    virtual std::optional<QByteArray> transmit(const QByteArray& command) = 0;
    /// The same in a transaction, which keeps other programs from the card.
    virtual std::optional<QByteArray> transmitInTransaction(const QByteArray& command) = 0;
};

} // namespace korvex::rfid::sdk
