#include "core/process_state.h"
#include "rfid/emulated_card.h"
#include "rfid/sdk/reader.h"
#include "support/posix/pcsc_daemon.h"
#include "virtual_card/connection.h"

#include <QtTest>

using namespace korvex::rfid::sdk;
using korvex::test::factoryCard;
using korvex::test::PcscDaemon;
using korvex::virtual_card::Connection;

namespace {

constexpr std::chrono::seconds kTimeout{10};

/// The first reader with a card; the daemon notices a card a moment after it was laid down.
std::optional<Reader> awaitedReader()
{
    for (const QDeadlineTimer deadline(kTimeout); !deadline.hasExpired(); QTest::qWait(10))
        if (auto reader = findActiveReader())
            return *reader;
    return std::nullopt;
}

} // namespace

/// Readers and cards through the daemon.
class TestReader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_state.startAnew(); }
    void cleanup();

    void probedAlone();
    void secondReader();
    void cardReplaced();
    void daemonKilled();

private:
    korvex::test::ProcessState m_state;
    std::optional<PcscDaemon> m_daemon;
};

void TestReader::initTestCase()
{
    m_daemon.emplace();
    if (const QString reason = m_daemon->unavailable(); !reason.isEmpty())
        QSKIP(qPrintable(reason));
}

void TestReader::cleanup()
{
    // The daemon takes a moment to notice that a test's card is gone, too.
    QTRY_VERIFY(!findActiveReader());
}

void TestReader::probedAlone()
{
    using namespace korvex::platform;
    const auto card = factoryCard("plus-x");
    // It has a key for its first sector alone.
    card->setMisbehaviour(
        {.answers = {{QByteArray::fromHex("70004000"), '\x90' + QByteArray(16, 'c')}}});
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));
    const auto context = pcsc::establishContext();
    const auto openShared = [&] {
        return pcsc::connect(*context, PcscDaemon::readerName(), false);
    };
    {
        const auto reader = awaitedReader();
        QVERIFY(reader && !openShared());
        QCOMPARE(reader->card()->atr(), card->atr());
        QCOMPARE(reader->card()->displayName(), QString("Mifare Plus SE 1K SL3"));
        QCOMPARE(uidText(*reader->card()).value_or(QString()), QString("04:A1:B2:C3"));
    }
    const auto other = openShared();
    QVERIFY(other);
    QCOMPARE(static_cast<int>(findActiveReader().error().code), 7);
    pcsc::disconnect(*other);
    QVERIFY(findActiveReader());
    pcsc::releaseContext(*context);
}

void TestReader::secondReader()
{
    // On the first reader a card with contacts.
    const korvex::virtual_card::CardType contacts{.atr = QByteArray("\x3B\x00", 2)};
    const auto other = *korvex::virtual_card::Card::create({.type = contacts});
    Connection onFirst(*other);
    QVERIFY(onFirst.start({.port = m_daemon->port()}, kTimeout));
    const QString accessed = "[Verbose 2] Accessing authenticator on 'Virtual PCD 00 00'";
    QTRY_VERIFY(!findActiveReader() && m_state.takeLog().contains(accessed));

    const auto card = factoryCard();
    Connection onSecond(*card);
    QVERIFY(onSecond.start({.port = m_daemon->port(1)}, kTimeout));
    const auto reader = awaitedReader();
    QVERIFY(reader);
    QCOMPARE(reader->name(), PcscDaemon::readerName(1));
    QVERIFY(m_state.takeLog().contains("[Verbose 2] Reader 'Virtual PCD 00 01' found"));
}

void TestReader::cardReplaced()
{
    const auto card = factoryCard();
    auto onReader = std::make_unique<Connection>(*card);
    QVERIFY(onReader->start({.port = m_daemon->port()}, kTimeout));
    auto reader = awaitedReader();
    QVERIFY(reader);
    auto first = reader->card();
    QVERIFY(reader->hasActiveCard());
    QCOMPARE(reader->card(), first); // still open

    card->setMisbehaviour({.vanishAfter = 0});
    QTRY_VERIFY(!reader->hasActiveCard());
    QVERIFY(!reader->card());
    const auto uid = uidText(*first);
    QVERIFY(!uid && static_cast<int>(uid.error().code) == 11);
    QCOMPARE(uid.error().message, QString("Failed to read UUID from RFID authenticator"));

    first.reset(); // its connection is the exclusive one
    card->setMisbehaviour({});
    onReader = std::make_unique<Connection>(*card);
    QVERIFY(onReader->start({.port = m_daemon->port()}, kTimeout));
    QTRY_VERIFY(reader->hasActiveCard());
}

void TestReader::daemonKilled()
{
    const auto card = factoryCard();
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));
    auto reader = awaitedReader();
    QVERIFY(reader);
    m_daemon->kill();
    QVERIFY(!reader->hasActiveCard());
    QVERIFY(listReaders().isEmpty());

    // Another daemon takes its place.
    m_daemon.emplace();
    // Contexts are released: it keeps 200 of them.
    for (int times = 0; times <= 200; ++times)
        QCOMPARE(listReaders().size(), 2);
    // Its readers are empty, so none is opened.
    m_state.takeLog();
    QVERIFY(!findActiveReader());
    QVERIFY(m_state.takeLog().filter("Accessing").isEmpty());
}

QTEST_GUILESS_MAIN(TestReader)

#include "tst_reader.moc"
