#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

namespace korvex::virtual_card {

/// A kind of card that can be laid on the reader.
struct CardType
{
    QString name{};   ///< what --type takes
    QByteArray atr{}; ///< what the reader answers for it
    int sectors = 0;  ///< of four blocks; 0: the card has a UID and no memory
};

/// Every kind that this program knows, those with a memory first.
const std::vector<CardType>& cardTypes();
std::optional<CardType> cardType(const QString& name);

/// The ATR that a reader makes up for a card that has none: PC/SC part 3, 3.1.3.2.3. `standard` and
/// `name` are the numbers of its registry; `reserved` is the first of the four bytes after them,
/// which the standard sets to 0.
QByteArray storageCardAtr(quint8 standard, quint16 name, quint8 reserved = 0);
/// The ATR of a card of ISO 14443-4: its own historical bytes, at most 15.
QByteArray processorCardAtr(const QByteArray& historicalBytes);

} // namespace korvex::virtual_card
