#include "core/process_state.h"
#include "rfid/card_manager_factory.h"
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

using Answer = korvex::virtual_card::Misbehaviour::Answer;
using Answers = std::vector<Answer>;
Q_DECLARE_METATYPE(Answers)

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
    QTest::addColumn<QByteArray>("emulated");
    QTest::addColumn<Answers>("answers");
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("served");
    const auto row = [](const char* name, const char* emulated, int type, bool served = false,
                        const Answers& answers = {}) {
        QTest::newRow(name) << QByteArray(emulated) << answers << type << served;
    };
    row("Mifare Classic 1K", "classic-1k", 0, true);
    row("Mifare Classic 4K", "classic-4k", 2);
    row("Mifare Ultralight", "ultralight", 3);
    row("Mifare Ultralight C", "ultralight-c", 4);
    row("Mifare Mini", "mini", 5);
    row("Mifare Plus 2K SL1", "plus-2k-sl1", 9, true);
    row("Mifare Plus 2K SL2", "plus-2k-sl2", 10);
    row("Mifare Plus 4K SL1", "plus-4k-sl1", 11, true);
    row("Mifare Plus 4K SL2", "plus-4k-sl2", 12);
    // Told by a probe: the hardware part of the version, and challenges for the keys it knows.
    const Answer twoKiB{QByteArray::fromHex("60"), QByteArray::fromHex("AF04020111001605")};
    const Answer fourKiB{QByteArray::fromHex("60"), QByteArray::fromHex("AF04020122001805")};
    const auto challenge = [](const char* key) {
        return Answer{QByteArray::fromHex("70") + QByteArray::fromHex(key) + '\0',
                      '\x90' + QByteArray(16, 'c')};
    };
    const Answer origin = challenge("0080");
    const Answer first = challenge("0040");
    const Answer seventeenth = challenge("2040");
    row("Mifare Plus SE 1K SL0", "plus-se", 6, false, {origin});
    row("Mifare Plus 2K SL0", "plus-s", 7, false, {twoKiB, origin});
    row("Mifare Plus 4K SL0", "plus-x", 8, false, {fourKiB, origin});
    row("Mifare Plus SE 1K SL3", "plus-se-10", 13, false, {first});
    row("Mifare Plus 2K SL3", "plus-s", 14, false, {first, seventeenth});
    row("Mifare Plus 4K SL3", "plus-x", 15, false, {first, seventeenth, challenge("4040")});
    // These give no answer that would tell more.
    for (const char* const emulated :
         {"desfire", "topaz", "felica", "jcop-30", "jcop-30-ff", "plus-x", "unknown"})
        QTest::addRow("<Unknown> (%s)", emulated)
            << QByteArray(emulated) << Answers() << 20 << false;
}

void TestReader::kinds()
{
    QFETCH(QByteArray, emulated);
    QFETCH(Answers, answers);
    QFETCH(int, type);
    QFETCH(bool, served);
    const auto card = factoryCard(emulated);
    korvex::virtual_card::Misbehaviour behaviour;
    behaviour.answers = answers;
    card->setMisbehaviour(behaviour);
    Connection onReader(*card);
    QVERIFY(onReader.start({.port = m_daemon->port()}, kTimeout));

    const auto reader = awaitedReader();
    QVERIFY(reader);
    QCOMPARE(reader->name(), PcscDaemon::readerName());
    QCOMPARE(reader->card()->atr(), card->atr());
    QCOMPARE(static_cast<int>(reader->card()->type()), type);
    QCOMPARE(reader->card()->displayName(),
             QString(QTest::currentDataTag()).section(QLatin1String(" ("), 0, 0));
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
