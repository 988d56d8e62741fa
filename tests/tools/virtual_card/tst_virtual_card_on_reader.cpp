#include "support/posix/pcsc_daemon.h"
#include "virtual_card/connection.h"

#include <QProcess>
#include <QTest>
#include <winscard.h>

using namespace korvex::virtual_card;
using korvex::test::PcscDaemon;

namespace {

constexpr int kTimeout = 10'000;
const QByteArray kGetUid = QByteArray::fromHex("ffca000000");
const QByteArray kOk = QByteArray::fromHex("9000");

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

    bool connect()
    {
        return SCardConnect(m_context, m_reader.constData(), SCARD_SHARE_EXCLUSIVE,
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
    void bothSlots();
};

void TestVirtualCardOnReader::bothSlots()
{
    PcscDaemon daemon;
    if (!daemon.unavailable().isEmpty())
        QSKIP(qPrintable(daemon.unavailable()));

    // One card in this process, the other one in the program.
    const auto card = *Card::create({.type = *cardType("classic-1k")});
    Connection connection(*card);
    QVERIFY(connection.start({.port = daemon.port(0)}, std::chrono::milliseconds(kTimeout)));
    const QTemporaryDir folder;
    const QByteArray uid = QByteArray::fromHex("04112233445566");
    const QStringList arguments{
        "--type",      "plus-2k-sl1",   "--image", folder.filePath("card"),
        "--uid",       uid.toHex(),     "--port",  QString::number(daemon.port(1)),
        "--misbehave", "vanish-after=1"};
    QProcess process;
    process.start(KORVEX_VIRTUAL_CARD, arguments);
    QVERIFY(process.waitForReadyRead(kTimeout));
    QCOMPARE(process.readAllStandardOutput(), QByteArray("on the reader\n"));

    Program first(0);
    Program second(1);
    QVERIFY(QTest::qWaitFor([&] { return first.connect(); }, kTimeout));
    QVERIFY(QTest::qWaitFor([&] { return second.connect(); }, kTimeout));
    QCOMPARE(first.transmit(kGetUid), card->uid() + kOk);
    QCOMPARE(first.transmit("\x60"), QByteArray::fromHex("6d00"));
    QCOMPARE(card->commands(), (std::vector<QByteArray>{kGetUid, "\x60"}));
    QCOMPARE(second.transmit(kGetUid), uid + kOk);
    QCOMPARE(second.transmit(kGetUid), QByteArray());
    QVERIFY(process.waitForFinished(kTimeout));
    QCOMPARE(process.exitCode(), 0);

    // The slot takes the next card, and never a second one.
    process.start(KORVEX_VIRTUAL_CARD, arguments);
    QVERIFY(process.waitForReadyRead(kTimeout));
    QVERIFY(!Connection(*card).start({.port = daemon.port(1)}, std::chrono::milliseconds(500)));
    process.terminate();
    QVERIFY(process.waitForFinished(kTimeout));
    QCOMPARE(process.exitCode(), 0);

    if (!daemon.isOwn())
        QSKIP("the daemon is not the test's own, so it is not killed");
    daemon.kill();
    QCOMPARE(first.transmit(kGetUid), QByteArray());
    QVERIFY(connection.waitForEnd(std::chrono::milliseconds(kTimeout)));
}

QTEST_GUILESS_MAIN(TestVirtualCardOnReader)
#include "tst_virtual_card_on_reader.moc"
