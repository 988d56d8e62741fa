#include "support/posix/pcsc_daemon.h"
#include "virtual_card/connection.h"

#include <QProcess>
#include <QTest>
#include <winscard.h>

using namespace korvex::virtual_card;
using korvex::test::PcscDaemon;

namespace {

constexpr std::chrono::seconds kTimeout{10};
const QByteArray kGetUid = QByteArray::fromHex("ffca000000");
const QByteArray kUid = QByteArray::fromHex("0f1e2d3c");

/// A program's view of one slot, by the calls of PC/SC.
class Program
{
public:
    explicit Program(int slot)
        : m_reader(PcscDaemon::readerName(slot).toUtf8())
    {
        SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &m_context);
    }
    ~Program()
    {
        SCardDisconnect(m_card, SCARD_LEAVE_CARD);
        SCardReleaseContext(m_context);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    bool waitForState(DWORD wanted)
    {
        SCARD_READERSTATE state{};
        state.szReader = m_reader.constData();
        while (SCardGetStatusChange(m_context, 10'000, &state, 1) == SCARD_S_SUCCESS) {
            if (state.dwEventState & wanted)
                return true;
            state.dwCurrentState = state.dwEventState;
        }
        return false;
    }
    bool connect()
    {
        return waitForState(SCARD_STATE_PRESENT) &&
               SCardConnect(m_context, m_reader.constData(), SCARD_SHARE_EXCLUSIVE,
                            SCARD_PROTOCOL_ANY, &m_card, &m_protocol) == SCARD_S_SUCCESS;
    }
    /// The answer; empty when the call fails.
    QByteArray transmit(const QByteArray& command) const
    {
        QByteArray answer(300, 0);
        auto size = static_cast<DWORD>(answer.size());
        const LONG result = SCardTransmit(
            m_card, m_protocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1,
            reinterpret_cast<const BYTE*>(command.constData()), static_cast<DWORD>(command.size()),
            nullptr, reinterpret_cast<BYTE*>(answer.data()), &size);
        return result == SCARD_S_SUCCESS ? answer.left(static_cast<int>(size)) : QByteArray();
    }

private:
    QByteArray m_reader;
    SCARDCONTEXT m_context = 0;
    SCARDHANDLE m_card = 0;
    DWORD m_protocol = 0;
};

} // namespace

class TestVirtualCardOnReader : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_daemon.emplace();
        if (const QString reason = m_daemon->unavailable(); !reason.isEmpty())
            QSKIP(qPrintable(reason));
    }
    void cleanup() { m_daemon.reset(); }

    void cardsInBothSlots();
    void program();

private:
    std::optional<PcscDaemon> m_daemon;
};

void TestVirtualCardOnReader::cardsInBothSlots()
{
    const auto first = *Card::create({.type = *cardType("classic-1k"), .uid = kUid});
    const auto second = *Card::create({.type = *cardType("desfire")});
    Connection inFirst(*first);
    Connection inSecond(*second);
    QVERIFY(inFirst.start({.port = m_daemon->port(0)}, kTimeout));
    QVERIFY(inSecond.start({.port = m_daemon->port(1)}, kTimeout));

    Program firstProgram(0);
    Program secondProgram(1);
    QVERIFY(firstProgram.connect() && secondProgram.connect());
    QCOMPARE(firstProgram.transmit(kGetUid), kUid + QByteArray::fromHex("9000"));
    QCOMPARE(secondProgram.transmit(kGetUid), second->uid() + QByteArray::fromHex("9000"));
    QCOMPARE(firstProgram.transmit("\x60"), QByteArray::fromHex("6d00"));
    QCOMPARE(first->commands(), (std::vector<QByteArray>{kGetUid, "\x60"}));

    // The slot takes one card, and another once that has gone.
    QVERIFY(!Connection(*second).start({.port = m_daemon->port(0)}, std::chrono::seconds(1)));
    inFirst.stop();
    QVERIFY(firstProgram.waitForState(SCARD_STATE_EMPTY));

    if (!m_daemon->isOwn())
        QSKIP("the daemon is not the test's own, so it is not killed");
    m_daemon->kill();
    QCOMPARE(secondProgram.transmit(kGetUid), QByteArray());
    QVERIFY(inSecond.waitForEnd(kTimeout));
}

void TestVirtualCardOnReader::program()
{
    QTemporaryDir folder;
    QProcess process;
    process.start(KORVEX_VIRTUAL_CARD,
                  {"--image", folder.filePath("card"), "--uid", kUid.toHex(), "--port",
                   QString::number(m_daemon->port()), "--misbehave", "vanish-after=1"});
    QVERIFY(process.waitForReadyRead(10'000));
    QCOMPARE(process.readAllStandardOutput(), QByteArray("on the reader\n"));
    Program program(0);
    QVERIFY(program.connect());
    QCOMPARE(program.transmit(kGetUid), kUid + QByteArray::fromHex("9000"));
    QCOMPARE(program.transmit(kGetUid), QByteArray());
    QVERIFY(program.waitForState(SCARD_STATE_EMPTY));
    QVERIFY(process.waitForFinished(10'000));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(QFileInfo(folder.filePath("card")).size(), qint64{1024});
}

QTEST_GUILESS_MAIN(TestVirtualCardOnReader)
#include "tst_virtual_card_on_reader.moc"
