#pragma once

#include "core/error.h"
#include "rfid/sdk/card.h"
#include "rfid/sdk/context.h"

#include <QString>
#include <QVector>
#include <memory>

namespace korvex::rfid::sdk {

/// A reader of the machine, with the card that was found on it. Copies share both. Not for several
/// threads at once.
class Reader
{
public:
    Reader(std::shared_ptr<const __::Context> context, QString name);

    const QString& name() const { return m_name; }
    /// The card that hasActiveCard() found; may be empty.
    const std::shared_ptr<Card>& card() const { return m_card; }

    /// Whether a card lies on the reader; opens it exclusively when it is not open yet.
    bool hasActiveCard();

private:
    std::shared_ptr<const __::Context> m_context;
    QString m_name;
    std::shared_ptr<Card> m_card;
};

/// The readers, in the system's order; none when there is no smart-card service.
QVector<Reader> listReaders();

/// The first reader with a card. Error NoActiveCard.
[[nodiscard]] Result<Reader> findActiveReader();

/// Opens the card on a reader. Nothing when there is no card or it does not answer like a
/// contactless card.
std::unique_ptr<Card> openCard(const std::shared_ptr<const __::Context>& context,
                               const QString& reader, bool exclusive);

/// The unique identifier as hex text. Error UidNotRead.
[[nodiscard]] Result<QString> uidText(const Card& card);

} // namespace korvex::rfid::sdk
