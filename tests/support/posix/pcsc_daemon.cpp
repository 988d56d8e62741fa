#include "support/posix/pcsc_daemon.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QTcpServer>
#include <winscard.h>

namespace korvex::test {

namespace {

constexpr int kTimeout = 10'000;

/// One for the process: its PC/SC library asks for the socket's place only once.
Q_GLOBAL_STATIC(QTemporaryDir, folder)

/// The first of two free ports, from a range that the system does not give to outgoing connections.
quint16 freePorts()
{
    const auto isFree = [](int port) {
        return QTcpServer().listen(QHostAddress::LocalHost, static_cast<quint16>(port));
    };
    int port = 20'000 + 2 * static_cast<int>(QCoreApplication::applicationPid() % 5'000);
    while (!isFree(port) || !isFree(port + 1))
        port += 2;
    return static_cast<quint16>(port);
}

bool readerIsListed()
{
    SCARDCONTEXT context = 0;
    QByteArray names(4096, 0);
    auto size = static_cast<DWORD>(names.size());
    SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context);
    const LONG listed = SCardListReaders(context, nullptr, names.data(), &size);
    SCardReleaseContext(context);
    return listed == SCARD_S_SUCCESS && names.contains(PcscDaemon::readerName(1).toUtf8());
}

} // namespace

PcscDaemon::PcscDaemon()
    : m_logPath(folder->filePath("log"))
    , m_port(freePorts())
{
    if (!start())
        m_unavailable = "no PC/SC daemon: " + log().simplified();
}

PcscDaemon::~PcscDaemon()
{
    m_process.terminate();
    if (!m_process.waitForFinished(kTimeout))
        kill();
}

void PcscDaemon::kill()
{
    m_process.kill();
    m_process.waitForFinished(kTimeout);
}

bool PcscDaemon::start()
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardOutputFile(m_logPath); // a pipe that nobody empties would stop it
    m_process.start(KORVEX_VIRTUAL_READER, {folder->path(), QString::number(m_port)});
    const auto waitUntil = [this](auto isReached) {
        for (const QDeadlineTimer deadline(kTimeout); !isReached();)
            if (m_process.waitForFinished(10) || deadline.hasExpired())
                return false;
        return true;
    };
    if (!waitUntil([this] { return log().startsWith("socket ") && log().contains('\n'); }))
        return false;
    const QString socket = log().section('\n', 0, 0).section(' ', 1);
    qputenv("PCSCLITE_CSOCK_NAME", QFile::encodeName(socket));
    return waitUntil(readerIsListed);
}

QString PcscDaemon::log() const
{
    QFile file(m_logPath);
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.read(4096)) : QString();
}

} // namespace korvex::test
