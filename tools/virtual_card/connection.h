#pragma once

#include "card.h"
#include "platform/posix/file_descriptor.h"

#include <QByteArray>
#include <QString>
#include <chrono>
#include <condition_variable>
#include <expected>
#include <mutex>
#include <optional>
#include <thread>

namespace korvex::virtual_card {

/// Where the virtual reader waits for cards.
struct ReaderAddress
{
    QString host = QStringLiteral("127.0.0.1"); ///< an IPv4 address
    quint16 port = 35963;                       ///< of the first slot
};

/// A card that lies on the virtual reader of vsmartcard-vpcd, served by a thread of its own. The
/// reader listens and the card connects. A message in either direction is a length of two bytes,
/// big-endian, and that many bytes.
class Connection
{
public:
    /// `card` has to outlive this object.
    explicit Connection(Card& card);
    /// Takes the card away.
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Lays the card on the reader; waits until the reader listens and has noticed the card. To be
    /// called once. The error is the reason, as a text for people.
    [[nodiscard]] std::expected<void, QString> start(const ReaderAddress& address,
                                                     std::chrono::milliseconds timeout);
    /// Takes the card away. Does not wait for a slow answer.
    void stop();
    /// Waits until the card is off the reader, for whatever reason; false after the time-out.
    bool waitForEnd(std::chrono::milliseconds timeout);

private:
    void serve();
    std::optional<QByteArray> receiveMessage();
    std::optional<QByteArray> receive(int size);
    bool send(const QByteArray& message);
    bool handle(const QByteArray& message);
    /// False once the card is to be taken away.
    bool waitFor(int descriptor, std::chrono::milliseconds timeout) const;

    Card& m_card;
    platform::FileDescriptor m_wakeUp; ///< readable once the card is to be taken away
    platform::FileDescriptor m_socket;
    std::thread m_thread;

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    bool m_noticed = false;
    bool m_ended = false;
};

} // namespace korvex::virtual_card
