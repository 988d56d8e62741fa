#include "rfid/sdk/reader.h"

#include "core/log.h"
#include "rfid/sdk/atr.h"
#include "rfid/sdk/card_factory.h"
#include "rfid/sdk/hex_text.h"
#include "rfid/sdk/pcsc_connection.h"

#include <utility>

namespace korvex::rfid::sdk {

Reader::Reader(std::shared_ptr<const __::Context> context, QString name)
    : m_context(std::move(context))
    , m_name(std::move(name))
{}

bool Reader::hasActiveCard()
{
    if (m_card && !m_card->readUid().isEmpty())
        return true;
    // Close the old card first: while it is open exclusively, it cannot be opened again.
    m_card.reset();
    m_card = openCard(m_context, m_name, true);
    return m_card != nullptr;
}

QVector<Reader> listReaders()
{
    const auto context = __::Context::establish();
    if (!context)
        return {};
    QVector<Reader> readers;
    const QStringList names = platform::pcsc::listReaders(context->handle());
    for (const QString& name : names) {
        logger().log(2, QStringLiteral("Reader '%1' found").arg(name));
        readers.append(Reader(context, name));
    }
    return readers;
}

Result<Reader> findActiveReader()
{
    QVector<Reader> readers = listReaders();
    for (Reader& reader : readers)
        if (reader.hasActiveCard())
            return reader;
    return failure(ErrorCode::NoActiveCard, QStringLiteral("No active RFID authenticator found"));
}

std::unique_ptr<Card> openCard(const std::shared_ptr<const __::Context>& context,
                               const QString& reader, bool exclusive)
{
    const auto state = platform::pcsc::readerState(context->handle(), reader);
    if (!state || !state->hasCard || state->atr.isEmpty())
        return nullptr;
    logger().log(2, QStringLiteral("Accessing authenticator on '%1'").arg(reader));
    auto connection = PcscConnection::open(context, reader, exclusive);
    const auto atr = connection ? connection->atr() : std::nullopt;
    if (!atr)
        return nullptr;
    const auto type = parseAtr(*atr);
    if (!type)
        return nullptr;
    return makeCard({std::move(connection), reader, *atr}, *type);
}

Result<QString> uidText(const Card& card)
{
    const QByteArray uid = card.readUid();
    if (uid.isEmpty())
        return failure(ErrorCode::UidNotRead,
                       QStringLiteral("Failed to read UUID from RFID authenticator"));
    return hexText(uid);
}

} // namespace korvex::rfid::sdk
