#include "platform/process.h"

#include <QProcess>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korvex::platform {

namespace {

constexpr int kReaderPatience = 1000; // milliseconds

/// Blocks SIGPIPE on this thread, so that a write to a pipe without a reader does not end the
/// process, whatever the host has set for the signal.
class BrokenPipeGuard
{
public:
    BrokenPipeGuard()
    {
        sigemptyset(&m_signals);
        sigaddset(&m_signals, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_signals, &m_before);
        // A signal can be pending already only when the host itself blocks it.
        sigset_t waiting;
        m_isHostsOwn = sigismember(&m_before, SIGPIPE) == 1 && sigpending(&waiting) == 0 &&
                       sigismember(&waiting, SIGPIPE) == 1;
    }
    ~BrokenPipeGuard()
    {
        const timespec now{};
        if (m_pipeBroke && !m_isHostsOwn)
            sigtimedwait(&m_signals, nullptr, &now);
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

    void pipeBroke() { m_pipeBroke = true; }

private:
    sigset_t m_signals{};
    sigset_t m_before{};
    bool m_isHostsOwn = false;
    bool m_pipeBroke = false;
};

bool standardOutputHasReader()
{
    struct stat status{};
    return ::fstat(STDOUT_FILENO, &status) == 0 &&
           (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

// Waits once for a reader that has stopped reading. Until it reads again, text is dropped at once,
// so that it cannot delay a sign-in with every line.
bool waitForReader()
{
    static std::atomic<bool> stalled = false;
    pollfd output{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
    int ready = 0;
    do {
        ready = ::poll(&output, 1, stalled ? 0 : kReaderPatience);
    } while (ready < 0 && errno == EINTR);
    stalled = ready == 0;
    return ready > 0;
}

/// Writes all of it; false when that failed.
bool writeText(const char* text, std::size_t left, bool hasReader)
{
    while (left > 0) {
        if (hasReader && !waitForReader())
            return false;
        // A pipe that poll() calls writable takes PIPE_BUF bytes without blocking.
        const std::size_t piece = hasReader ? std::min<std::size_t>(left, PIPE_BUF) : left;
        const ssize_t written = ::write(STDOUT_FILENO, text, piece);
        if (written < 0 && errno != EINTR)
            return false;
        const auto count = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        text += count;
        left -= count;
    }
    return true;
}

} // namespace

quint64 currentProcessId()
{
    return static_cast<quint64>(::getpid());
}

quint64 currentThreadId()
{
    return static_cast<quint64>(::gettid());
}

void terminateProcess(int exitCode)
{
    ::_exit(exitCode);
}

void setNativeArguments(QProcess& process, const QString& arguments)
{
    process.setArguments({arguments});
}

void reserveStandardStreams()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        // A new descriptor gets the lowest free number, which is this one.
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF)
            ::open("/dev/null", O_RDWR);
    }
}

void writeStandardOutput(const QByteArray& text)
{
    // Looked up once: a host does not turn its standard output from a file into a pipe.
    static const bool hasReader = standardOutputHasReader();
    const auto size = static_cast<std::size_t>(text.size());
    if (!hasReader) {
        writeText(text.constData(), size, false);
        return;
    }
    BrokenPipeGuard guard;
    if (!writeText(text.constData(), size, true) && errno == EPIPE)
        guard.pipeBroke();
}

} // namespace korvex::platform
