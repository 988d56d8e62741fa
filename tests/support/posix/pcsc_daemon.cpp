#include "support/posix/pcsc_daemon.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QTcpServer>
#include <QThread>
#include <winscard.h>

namespace korvex::test {

namespace {

constexpr int kTimeout = 10'000;
constexpr int kPause = 10;
constexpr quint16 kUsualPort = 35963;
const char* const kSocketVariable = "PCSCLITE_CSOCK_NAME";
const QString kUsualSocket = QStringLiteral("/run/pcscd/pcscd.comm");

/// One for the process: its PC/SC library asks for the socket's place only once.
const QTemporaryDir& folder()
{
    static const QTemporaryDir kFolder;
    return kFolder;
}

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
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS)
        return false;
    QByteArray names(4096, 0);
    auto size = static_cast<DWORD>(names.size());
    const LONG listed = SCardListReaders(context, nullptr, names.data(), &size);
    SCardReleaseContext(context);
    return listed == SCARD_S_SUCCESS &&
           names.split('\0').contains(PcscDaemon::readerName(1).toUtf8());
}

} // namespace

PcscDaemon::PcscDaemon()
    : m_logPath(folder().filePath(QStringLiteral("log")))
    , m_port(freePorts())
{
    if (startOwn())
        return;
    kill();
    m_unavailable = log().simplified();
    if (!QFile::exists(kUsualSocket))
        return;
    qputenv(kSocketVariable, QFile::encodeName(kUsualSocket));
    m_port = kUsualPort;
    if (waitForReaders())
        m_unavailable.clear();
}

PcscDaemon::~PcscDaemon()
{
    m_process.terminate();
    if (!m_process.waitForFinished(kTimeout))
        kill();
}

QString PcscDaemon::readerName(int slot)
{
    return QStringLiteral("Virtual PCD 00 0%1").arg(slot);
}

void PcscDaemon::kill()
{
    m_process.kill();
    m_process.waitForFinished(kTimeout);
}

bool PcscDaemon::startOwn()
{
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setStandardOutputFile(m_logPath); // a pipe that nobody empties would stop it
    m_process.start(QStringLiteral(KORVEX_VIRTUAL_READER),
                    {folder().path(), QString::number(m_port)});
    const QString mark = QStringLiteral("socket ");
    const QDeadlineTimer deadline(kTimeout);
    while (!log().startsWith(mark) || !log().contains(QLatin1Char('\n')))
        if (m_process.waitForFinished(kPause) || deadline.hasExpired())
            return false;
    qputenv(kSocketVariable,
            QFile::encodeName(log().section(QLatin1Char('\n'), 0, 0).mid(mark.size())));
    return waitForReaders();
}

bool PcscDaemon::waitForReaders()
{
    for (const QDeadlineTimer deadline(kTimeout); !readerIsListed(); QThread::msleep(kPause))
        if (deadline.hasExpired() || m_process.waitForFinished(0))
            return false;
    return true;
}

QString PcscDaemon::log() const
{
    QFile file(m_logPath);
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.read(4096)) : QString();
}

} // namespace korvex::test
