#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

/// The smart-card readers of the machine, by PC/SC: the system's resource manager on Windows, the
/// PC/SC daemon on Linux. Both know the same calls and numbers; reader names are wide on Windows
/// and UTF-8 on Linux.
///
/// Every call blocks for as long as the resource manager takes. A call that fails gives nothing; a
/// manager that is not there is an ordinary case and is not reported.
namespace korvex::platform::pcsc {

using Context = quintptr;

/// A context of the whole system's scope. Released by releaseContext().
std::optional<Context> establishContext();
void releaseContext(Context context);

/// The names of the readers, in the order of the resource manager.
QStringList listReaders(Context context);

struct ReaderState
{
    bool hasCard; ///< a card is present and not mute
    QByteArray atr;
};

/// The reader's state now, without waiting for a change.
std::optional<ReaderState> readerState(Context context, const QString& reader);

struct Connection
{
    quintptr card;
    quint32 protocol; ///< 1 for T=0, 2 for T=1
};

/// Opens the card on a reader, exclusively or shared. Closed by disconnect().
std::optional<Connection> connect(Context context, const QString& reader, bool exclusive);
/// Closes the card and leaves it as it is.
void disconnect(const Connection& connection);

/// The card's answer to reset, 1 to 33 bytes.
std::optional<QByteArray> atr(const Connection& connection);

/// Keeps other programs from the card until endTransaction().
bool beginTransaction(const Connection& connection);
void endTransaction(const Connection& connection);

/// Sends one command; the answer of at most 256 bytes, with its two status bytes.
std::optional<QByteArray> transmit(const Connection& connection, const QByteArray& command);

} // namespace korvex::platform::pcsc
