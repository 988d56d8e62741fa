#include "connection.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace korvex::virtual_card {

namespace {

using platform::FileDescriptor;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kRetryPause{20};
constexpr milliseconds kForever{-1};
constexpr time_t kSendSeconds = 5;

/// Messages of the reader that are not commands for the card.
enum class Control : char { PowerOff = 0, PowerOn = 1, Reset = 2, TellAtr = 4 };

bool isControl(const QByteArray& message, Control control)
{
    return message.size() == 1 && message[0] == static_cast<char>(control);
}

/// A connected socket, or an invalid one with `errno` set.
FileDescriptor connectOnce(const sockaddr_in& address)
{
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.isValid())
        return socket;
    const timeval sendTimeout{.tv_sec = kSendSeconds, .tv_usec = 0}; // for connecting, too
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &sendTimeout, sizeof sendTimeout);
    const int on = 1;
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0)
        return FileDescriptor();
    return socket;
}

} // namespace

Connection::Connection(Card& card)
    : m_card(card)
    , m_wakeUp(::eventfd(0, EFD_CLOEXEC))
{}

Connection::~Connection()
{
    stop();
}

std::expected<void, QString> Connection::start(const ReaderAddress& address, milliseconds timeout)
{
    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_port = htons(address.port);
    if (::inet_pton(AF_INET, qPrintable(address.host), &destination.sin_addr) != 1)
        return std::unexpected(address.host + " is no IPv4 address");

    const auto deadline = Clock::now() + timeout;
    while (!(m_socket = connectOnce(destination)).isValid()) {
        const int error = errno;
        if (Clock::now() >= deadline)
            return std::unexpected(QString("no reader at %1:%2: %3")
                                       .arg(address.host)
                                       .arg(address.port)
                                       .arg(QString::fromLocal8Bit(std::strerror(error))));
        std::this_thread::sleep_for(kRetryPause);
    }
    m_card.cutPower();
    m_thread = std::thread([this] { serve(); });

    // The system accepts a connection before the reader does, and the reader takes only one card.
    std::unique_lock lock(m_mutex);
    m_changed.wait_until(lock, deadline, [this] { return m_noticed || m_ended; });
    const bool noticed = m_noticed;
    lock.unlock();
    if (!noticed) {
        stop();
        return std::unexpected("the reader does not take the card; has it another one?");
    }
    return {};
}

void Connection::stop()
{
    if (!m_thread.joinable())
        return;
    ::eventfd_write(m_wakeUp.get(), 1);
    m_thread.join();
}

bool Connection::waitForEnd(milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [this] { return m_ended; });
}

void Connection::serve()
{
    while (const auto message = receiveMessage()) {
        {
            const std::lock_guard lock(m_mutex);
            m_noticed = true;
        }
        m_changed.notify_all();
        if (!handle(*message))
            break;
    }
    m_socket = FileDescriptor();
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_changed.notify_all();
}

bool Connection::handle(const QByteArray& message)
{
    if (isControl(message, Control::TellAtr))
        return send(m_card.atr());
    if (isControl(message, Control::PowerOff) || isControl(message, Control::PowerOn) ||
        isControl(message, Control::Reset)) {
        m_card.cutPower();
        return true;
    }
    const auto answer = m_card.transmit(message);
    if (const milliseconds delay = m_card.delay(); delay.count() > 0 && !waitFor(-1, delay))
        return false;
    return answer && send(*answer);
}

std::optional<QByteArray> Connection::receiveMessage()
{
    const auto length = receive(2);
    if (!length)
        return std::nullopt;
    return receive(static_cast<quint8>((*length)[0]) << 8 | static_cast<quint8>((*length)[1]));
}

std::optional<QByteArray> Connection::receive(int size)
{
    QByteArray bytes(size, 0);
    for (int done = 0; done < size;) {
        if (!waitFor(m_socket.get(), kForever))
            return std::nullopt;
        const auto got =
            ::recv(m_socket.get(), bytes.data() + done, static_cast<std::size_t>(size - done), 0);
        if (got <= 0)
            return std::nullopt;
        done += static_cast<int>(got);
        // The reader sends length and content separately. Without an acknowledgement at once, its
        // system would hold the content back for about 40 ms. The option has to be set each time.
        const int on = 1;
        ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    }
    return bytes;
}

bool Connection::send(const QByteArray& message)
{
    QByteArray bytes;
    bytes += static_cast<char>(message.size() >> 8);
    bytes += static_cast<char>(message.size() & 0xff);
    bytes += message;
    const auto size = static_cast<std::size_t>(bytes.size());
    return ::send(m_socket.get(), bytes.constData(), size, MSG_NOSIGNAL) ==
           static_cast<ssize_t>(size);
}

bool Connection::waitFor(int descriptor, milliseconds timeout) const
{
    std::array<pollfd, 2> watched = {{{m_wakeUp.get(), POLLIN, 0}, {descriptor, POLLIN, 0}}};
    int ready = 0;
    do
        ready = ::poll(watched.data(), watched.size(), static_cast<int>(timeout.count()));
    while (ready < 0 && errno == EINTR);
    return ready >= 0 && (watched[0].revents & POLLIN) == 0;
}

} // namespace korvex::virtual_card
