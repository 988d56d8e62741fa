#pragma once

#include "core/non_movable_copyable.h"
#include "platform/smart_cards.h"
#include "rfid/sdk/card_connection.h"
#include "rfid/sdk/context.h"

#include <memory>

namespace korvex::rfid::sdk {

/// A card on a reader of the machine. The destructor disconnects the card and leaves it powered.
class PcscConnection final : public CardConnection, private NonMovableCopyable
{
public:
    /// Nothing when the card cannot be opened.
    static std::unique_ptr<PcscConnection> open(std::shared_ptr<const __::Context> context,
                                                const QString& reader, bool exclusive);
    /// Takes over an open connection.
    PcscConnection(std::shared_ptr<const __::Context> context,
                   platform::pcsc::Connection connection);
    ~PcscConnection() override;

    /// The card's answer to reset.
    std::optional<QByteArray> atr() const;

    std::optional<QByteArray> transmit(const QByteArray& command) override;
    std::optional<QByteArray> transmitInTransaction(const QByteArray& command) override;

private:
    std::shared_ptr<const __::Context> m_context; ///< kept alive for the card
    platform::pcsc::Connection m_connection;
};

} // namespace korvex::rfid::sdk
