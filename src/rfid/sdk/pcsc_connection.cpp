#include "rfid/sdk/pcsc_connection.h"

#include <utility>

namespace korvex::rfid::sdk {

std::unique_ptr<PcscConnection> PcscConnection::open(std::shared_ptr<const __::Context> context,
                                                     const QString& reader, bool exclusive)
{
    const auto connection = platform::pcsc::connect(context->handle(), reader, exclusive);
    return connection ? std::make_unique<PcscConnection>(std::move(context), *connection) : nullptr;
}

PcscConnection::PcscConnection(std::shared_ptr<const __::Context> context,
                               platform::pcsc::Connection connection)
    : m_context(std::move(context))
    , m_connection(connection)
{}

PcscConnection::~PcscConnection()
{
    platform::pcsc::disconnect(m_connection);
}

std::optional<QByteArray> PcscConnection::atr() const
{
    return platform::pcsc::atr(m_connection);
}

std::optional<QByteArray> PcscConnection::transmit(const QByteArray& command)
{
    return platform::pcsc::transmit(m_connection, command);
}

std::optional<QByteArray> PcscConnection::transmitInTransaction(const QByteArray& command)
{
    if (!platform::pcsc::beginTransaction(m_connection))
        return std::nullopt;
    auto response = transmit(command);
    platform::pcsc::endTransaction(m_connection);
    return response;
}

} // namespace korvex::rfid::sdk
