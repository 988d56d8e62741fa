#include "core/process_state.h"
#include "rfid/card_manager.h"
#include "rfid/emulated_card.h"
#include "rfid/sdk/reader.h"
#include "support/posix/pcsc_daemon.h"
#include "virtual_card/connection.h"

#include <QProcess>
#include <QtTest>
#include <cstdio>

using namespace korvex::rfid;
using namespace korvex::rfid::sdk;
using korvex::test::factoryCard;
using korvex::test::PcscDaemon;
using korvex::virtual_card::Connection;

namespace {

constexpr std::chrono::seconds kTimeout{10};

/// Another process: holds the card on a reader for itself until its input ends.
int holdCard(const char* reader)
{
    const auto context = korvex::platform::pcsc::establishContext();
    if (!context || !korvex::platform::pcsc::connect(*context, reader, true))
        return 1;
    std::puts("held");
    std::fflush(stdout);
    std::getchar();
    return 0;
}

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
    void init();
    void cleanup();

    void kinds_data();
    void kinds();
    void secondReader();
    void slotStore_data();
    void slotStore();
    void cardReplaced();
    void heldByAnotherProcess();
    void readerUnplugged();
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

void TestReader::init()
{
    m_state.startAnew();
}

void TestReader::cleanup()
{
    // The daemon takes a moment to notice that a test's card is gone, too.
    QTRY_VERIFY(!findActiveReader());
}

void TestReader::kinds_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("served");
    const auto row = [](const char* emulated, int type, const char* name, bool served = false) {
        QTest::newRow(emulated) << type << QString(name) << served;
    };
    row("classic-1k", 0, "Mifare Classic 1K", true);
    row("classic-4k", 2, "Mifare Classic 4K");
    row("ultralight", 3, "Mifare Ultralight");
    row("ultralight-c", 4, "Mifare Ultralight C");
    row("mini", 5, "Mifare Mini");
    row("plus-2k-sl1", 9, "Mifare Plus 2K SL1", true);
    row("plus-2k-sl2", 10, "Mifare Plus 2K SL2");
    row("plus-4k-sl1", 11, "Mifare Plus 4K SL1", true);
    row("plus-4k-sl2", 12, "Mifare Plus 4K SL2");
    // These give no answer that would tell more.
    for (const char* const emulated :
         {"desfire", "topaz", "felica", "jcop-30", "jcop-30-ff", "plus-x", "unknown"})
        row(emulated, 20, "<Unknown>");
}

void TestReader::kinds()
{
    QFETCH(int, type);
    QFETCH(QString, name);
    QFETCH(bool, served);
    const auto card = factoryCard(QTest::currentDataTag());
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));

    const auto reader = awaitedReader();
    QVERIFY(reader);
    QCOMPARE(reader->name(), PcscDaemon::readerName());
    QCOMPARE(reader->card()->atr(), card->atr());
    QCOMPARE(static_cast<int>(reader->card()->type()), type);
    QCOMPARE(reader->card()->displayName(), name);
    QCOMPARE(uidText(*reader->card()).value_or(QString()), QString("04:A1:B2:C3"));
    QCOMPARE(makeCardManager(reader->card()).has_value(), served);
    const QStringList log = m_state.takeLog();
    QVERIFY(log.contains("[Verbose 2] Reader 'Virtual PCD 00 00' found"));
    QVERIFY(log.contains("[Verbose 2] Accessing authenticator on 'Virtual PCD 00 00'"));
}

void TestReader::secondReader()
{
    const auto card = factoryCard();
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port(1)}, kTimeout));
    QCOMPARE(listReaders().size(), 2);
    const auto reader = awaitedReader();
    QVERIFY(reader);
    QCOMPARE(reader->name(), PcscDaemon::readerName(1));
}

void TestReader::slotStore_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("classic-1k") << 15;
    QTest::newRow("plus-2k-sl1") << 31;
}

void TestReader::slotStore()
{
    QFETCH(int, count);
    const auto card = factoryCard(QTest::currentDataTag());
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));
    const auto reader = awaitedReader();
    QVERIFY(reader);
    const auto manager = *makeCardManager(reader->card());
    QCOMPARE(manager->freeSlots().size(), count);
    for (int slot = 1; slot <= count; ++slot)
        QVERIFY(manager->findFreeSlot() &&
                manager->writeSlot(static_cast<quint8>(slot), QByteArray(38, char('0' + slot))));
    const auto found = manager->readSlots();
    QCOMPARE(found.size(), count);
    for (const Slot& slot : found)
        QCOMPARE(slot.payload, QByteArray(38, char('0' + slot.number)));
    QVERIFY(manager->authenticateSlot(7) && manager->releaseSlot(7));
    QCOMPARE(manager->freeSlots(), QVector<quint8>{7});
}

void TestReader::cardReplaced()
{
    auto card = factoryCard();
    auto onReader = std::make_unique<Connection>(*card);
    QVERIFY(onReader->start({.port = m_daemon->port()}, kTimeout));
    auto reader = awaitedReader();
    QVERIFY(reader);
    auto first = reader->card();
    QVERIFY(reader->hasActiveCard());
    QCOMPARE(reader->card(), first); // still open

    onReader->stop();
    QTRY_VERIFY(!reader->hasActiveCard());
    QVERIFY(!reader->card());
    QVERIFY(!uidText(*first));
    QCOMPARE(static_cast<int>(uidText(*first).error().code), 11);
    QCOMPARE(uidText(*first).error().message,
             QString("Failed to read UUID from RFID authenticator"));

    first.reset(); // its connection is the exclusive one
    onReader = std::make_unique<Connection>(*card);
    QVERIFY(onReader->start({.port = m_daemon->port()}, kTimeout));
    QTRY_VERIFY(reader->hasActiveCard());
}

void TestReader::heldByAnotherProcess()
{
    const auto card = factoryCard();
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));
    QVERIFY(awaitedReader()); // and given up again
    QProcess other;
    other.start(QCoreApplication::applicationFilePath(), {"--hold", PcscDaemon::readerName()});
    QVERIFY(other.waitForReadyRead(10000));
    QElapsedTimer time;
    time.start();
    QCOMPARE(static_cast<int>(findActiveReader().error().code), 7);
    QVERIFY(time.elapsed() < 5000); // refused, not waited for
    other.closeWriteChannel();
    QVERIFY(other.waitForFinished(10000));
    QTRY_VERIFY(findActiveReader());
}

void TestReader::readerUnplugged()
{
    const auto card = factoryCard();
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));
    const auto reader = awaitedReader();
    QVERIFY(reader);
    const auto manager = *makeCardManager(reader->card());
    QVERIFY(manager->findFreeSlot());
    onReader.stop();
    QCOMPARE(static_cast<int>(manager->writeSlot(1, "payload").error().code), 10);
    QVERIFY(manager->readSlots().isEmpty());
    QCOMPARE(static_cast<int>(manager->findFreeSlot().error().code), 12);
    QVERIFY(!manager->cardPresent());
    QTRY_VERIFY(!findActiveReader());
}

void TestReader::daemonKilled()
{
    if (!m_daemon->isOwn())
        QSKIP("the daemon is not the test's own");
    const auto card = factoryCard();
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));
    auto reader = awaitedReader();
    QVERIFY(reader);
    const auto manager = *makeCardManager(reader->card());
    QVERIFY(manager->findFreeSlot());
    m_daemon->kill();
    QCOMPARE(static_cast<int>(manager->writeSlot(1, "payload").error().code), 10);
    QVERIFY(!reader->hasActiveCard());
    QVERIFY(listReaders().isEmpty());
    QCOMPARE(static_cast<int>(findActiveReader().error().code), 7);

    // Another daemon takes its place.
    m_daemon.emplace();
    QCOMPARE(m_daemon->unavailable(), QString());
    QCOMPARE(listReaders().size(), 2);
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--hold") == 0)
        return holdCard(argv[2]);
    const QCoreApplication application(argc, argv);
    TestReader test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_reader.moc"
