#include "core/openssl_program.h"
#include "rfid/card_manager_factory.h"
#include "rfid/emulated_card.h"

#include <QtTest>

using namespace korvex;
using namespace korvex::rfid;
using sdk::CardType;
using test::factoryCard;
using test::sectorOf;
using virtual_card::Misbehaviour;

namespace {

constexpr quint8 kOthersSlot = 5;

std::unique_ptr<CardManager> managerFor(virtual_card::Card& card)
{
    return *makeCardManager(test::opened(card, CardType::MifareClassic1K));
}

/// Each different, all of the same size.
QByteArray payloadFor(int slot, int size = 38)
{
    return QByteArray::number(1000 + slot).leftJustified(size, static_cast<char>('a' + slot), true);
}

/// Gives a sector another program's key and data, by that program's own commands.
void occupy(virtual_card::Card& card, int sector)
{
    const QByteArray number = QByteArray::number(sector * 4, 16).rightJustified(2, '0');
    const QByteArray trailer = QByteArray::number(sector * 4 + 3, 16).rightJustified(2, '0');
    for (const QByteArray& command :
         {QByteArray("FF82000006FFFFFFFFFFFF"), "FF860000050100" + number + "6000",
          "FFD600" + number + "10" + QByteArray("C7").repeated(16),
          "FFD600" + trailer + "10A0A1A2A3A4A5FF078069B0B1B2B3B4B5"})
        if (card.transmit(QByteArray::fromHex(command)) != QByteArray::fromHex("9000"))
            qFatal("the other program cannot write");
}

} // namespace

/// The store against an emulated card that shares no code with it.
class TestSlotStore : public QObject
{
    Q_OBJECT

private slots:
    void wholeCard();
    void shortPayloads();
    void refusedPayloads_data();
    void refusedPayloads();
    void noFreeSlot();
    void readerForms_data();
    void readerForms();
    void damagedSlot();
    void tearing_data();
    void tearing();
};

void TestSlotStore::wholeCard()
{
    const auto card = factoryCard();
    const QByteArray before = card->image();
    const auto manager = managerFor(*card);
    QCOMPARE(manager->slotSize(), 38);
    for (quint8 slot = 1; slot <= 15; ++slot) {
        const auto free = manager->findFreeSlot();
        QVERIFY(free);
        QCOMPARE(*free, slot);
        QVERIFY(manager->writeSlot(slot, payloadFor(slot)));
    }
    QVERIFY(manager->freeSlots().isEmpty());
    const QVector<Slot> found = managerFor(*card)->readSlots();
    QCOMPARE(found.size(), 15);

    // The key of the card: the first bytes of the MD5 of its identifier and the program's name.
    const QByteArray key = QByteArray::fromHex(
        test::opensslDigest({"-md5"}, card->uid() + QByteArray("Korvex", 7)).left(12));
    const QByteArray trailer = key + QByteArray::fromHex("FF0780BA") + QByteArray(6, '\xFF');
    for (quint8 slot = 1; slot <= 15; ++slot) {
        QCOMPARE(found[slot - 1].number, slot);
        QCOMPARE(found[slot - 1].payload, payloadFor(slot));
        const QByteArray sector = sectorOf(card->image(), slot);
        QCOMPARE(sector.left(4), QByteArray::fromHex("564B0100"));
        QCOMPARE(sector.mid(8, 40), QByteArray::fromHex("2600") + payloadFor(slot));
        QCOMPARE(sector.right(16), trailer);
    }
    QCOMPARE(sectorOf(card->image(), 0), sectorOf(before, 0));

    for (quint8 slot = 1; slot <= 15; ++slot)
        QVERIFY(manager->authenticateSlot(slot) && manager->releaseSlot(slot));
    const QByteArray released =
        QByteArray(48, '\0') + QByteArray::fromHex("FFFFFFFFFFFFFF0780BAFFFFFFFFFFFF");
    QCOMPARE(card->image(), sectorOf(before, 0) + released.repeated(15));
    QCOMPARE(manager->freeSlots().size(), 15);
    // Nothing ever went near the manufacturer's sector.
    for (const QByteArray& command : card->commands())
        if (command.startsWith("\xFF\x86"))
            QVERIFY(static_cast<quint8>(command.at(7)) >= 4);
        else if (command.startsWith("\xFF\xB0") || command.startsWith("\xFF\xD6"))
            QVERIFY(static_cast<quint8>(command.at(3)) >= 4);
    QVERIFY(!manager->authenticateSlot(0));
    QVERIFY(!manager->protectSlot(0) && !manager->releaseSlot(0));
    QVERIFY(!manager->writeSlot(0, "payload"));
    QVERIFY(!manager->writeSlot(16, "payload"));
}

void TestSlotStore::shortPayloads()
{
    const auto card = factoryCard();
    const auto manager = managerFor(*card);
    QVERIFY(manager->findFreeSlot());
    QVERIFY(manager->writeSlot(1, payloadFor(1)));
    // What was longer before leaves nothing behind.
    QVERIFY(manager->authenticateSlot(1));
    QVERIFY(manager->writeSlot(1, "short"));
    QCOMPARE(sectorOf(card->image(), 1).mid(8, 40),
             QByteArray::fromHex("0500") + "short" + QByteArray(33, '\0'));
    QCOMPARE(manager->readSlots().value(0).payload, QByteArray("short"));
}

void TestSlotStore::refusedPayloads_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("nothing") << 0;
    QTest::newRow("one byte too many") << 39;
    QTest::newRow("far too many") << 1000;
}

void TestSlotStore::refusedPayloads()
{
    QFETCH(int, size);
    const auto card = factoryCard();
    const QByteArray before = card->image();
    const auto manager = managerFor(*card);
    QVERIFY(manager->findFreeSlot());
    const auto written = manager->writeSlot(1, QByteArray(size, 'x'));
    QVERIFY(!written);
    QCOMPARE(static_cast<int>(written.error().code), 10);
    QCOMPARE(written.error().message,
             QString("Failed to write data on the RFID authenticator, slot: '1', data size: '%1'")
                 .arg(size + 10));
    QCOMPARE(card->image(), before);
}

void TestSlotStore::noFreeSlot()
{
    const auto card = factoryCard();
    for (int sector = 1; sector <= 15; ++sector)
        occupy(*card, sector);
    const auto manager = managerFor(*card);
    QVERIFY(manager->readSlots().isEmpty());
    const auto full = manager->findFreeSlot();
    QVERIFY(!full);
    QCOMPARE(static_cast<int>(full.error().code), 8);
    QCOMPARE(full.error().message, QString("No space left on the RFID authenticator"));

    Misbehaviour leaving;
    leaving.vanishAfter = 10;
    card->setMisbehaviour(leaving);
    const auto removed = manager->findFreeSlot();
    QVERIFY(!removed);
    QCOMPARE(static_cast<int>(removed.error().code), 12);
    QCOMPARE(removed.error().message,
             QString("The RFID authenticator removed during free space scan"));
    QVERIFY(!manager->cardPresent());
}

void TestSlotStore::readerForms_data()
{
    QTest::addColumn<bool>("refusesVolatile");
    QTest::addColumn<int>("form");
    QTest::addColumn<bool>("works");
    QTest::newRow("keys in other memory") << true << int(Misbehaviour::Form::Plain) << true;
    // Such answers are no success for the parser: nothing is read, and nothing is taken for data.
    QTest::newRow("61 xx") << false << int(Misbehaviour::Form::GetResponse) << false;
    QTest::newRow("6C xx") << false << int(Misbehaviour::Form::WrongLength) << false;
}

void TestSlotStore::readerForms()
{
    QFETCH(bool, refusesVolatile);
    QFETCH(int, form);
    QFETCH(bool, works);
    const auto card = factoryCard();
    Misbehaviour behaviour;
    behaviour.refuseVolatileKeys = refusesVolatile;
    behaviour.form = static_cast<Misbehaviour::Form>(form);
    card->setMisbehaviour(behaviour);
    const auto manager = managerFor(*card);
    QVERIFY(manager->findFreeSlot());
    QCOMPARE(manager->writeSlot(1, "payload").has_value(), works);
    QCOMPARE(manager->readSlots().size(), works ? 1 : 0);
    QCOMPARE(manager->cardPresent(), works);
}

void TestSlotStore::damagedSlot()
{
    const auto card = factoryCard();
    const auto manager = managerFor(*card);
    for (quint8 slot = 1; slot <= 2; ++slot)
        QVERIFY(manager->findFreeSlot() && manager->writeSlot(slot, payloadFor(slot)));
    // A bit of the first slot's payload falls over.
    QVERIFY(manager->authenticateSlot(1));
    QCOMPARE(card->transmit(QByteArray::fromHex("FFD6000510") + QByteArray(16, 'x')),
             std::optional(QByteArray::fromHex("9000")));
    const auto readable = manager->readSlots();
    QCOMPARE(readable.size(), 1);
    QCOMPARE(readable[0].number, quint8{2});
    QVERIFY(manager->authenticateSlot(1) && manager->releaseSlot(1));
    QCOMPARE(manager->freeSlots().value(0), quint8{1});
}

void TestSlotStore::tearing_data()
{
    QTest::addColumn<bool>("owned"); // the slot holds a record before
    QTest::addColumn<bool>("release");
    QTest::addColumn<bool>("afterExecuting");
    for (const bool executing : {false, true}) {
        const char* const when = executing ? "behind a command" : "before a command";
        QTest::addRow("write a free slot, %s", when) << false << false << executing;
        QTest::addRow("write over a slot, %s", when) << true << false << executing;
        QTest::addRow("release a slot, %s", when) << true << true << executing;
    }
}

void TestSlotStore::tearing()
{
    QFETCH(bool, owned);
    QFETCH(bool, release);
    QFETCH(bool, afterExecuting);
    constexpr quint8 kSlot = 3;
    const QByteArray fresh = payloadFor(9, 30);
    int cutPoints = 0;
    for (bool complete = false; !complete; ++cutPoints) {
        QVERIFY2(cutPoints < 200, "the operation never completes");
        const auto card = factoryCard();
        occupy(*card, kOthersSlot);
        auto manager = managerFor(*card);
        for (quint8 slot = 1; slot <= (owned ? kSlot : kSlot - 1); ++slot)
            QVERIFY(manager->findFreeSlot() && manager->writeSlot(slot, payloadFor(slot)));
        const QByteArray before = card->image();

        Misbehaviour leaving;
        leaving.vanishAfter = cutPoints;
        leaving.vanishAfterExecuting = afterExecuting;
        card->setMisbehaviour(leaving);
        bool success =
            owned ? manager->authenticateSlot(kSlot) : manager->findFreeSlot().value_or(0) == kSlot;
        success = success && (release ? manager->releaseSlot(kSlot)
                                      : manager->writeSlot(kSlot, fresh).has_value());
        complete = success;

        // The card comes back to another run of the program.
        card->setMisbehaviour({});
        card->cutPower();
        const QByteArray after = card->image();
        for (int sector = 0; sector < 16; ++sector)
            if (sector != kSlot)
                QCOMPARE(sectorOf(after, sector), sectorOf(before, sector));
        manager = managerFor(*card);
        const bool free = manager->freeSlots().contains(kSlot);
        const bool ours = manager->authenticateSlot(kSlot);
        QVERIFY2(free != ours, qPrintable(QString::number(cutPoints)));
        QByteArray payload;
        for (const Slot& slot : manager->readSlots())
            if (slot.number == kSlot)
                payload = slot.payload;
        if (success)
            QVERIFY(release ? free : payload == fresh);
        if (ours && payload.isEmpty()) {
            QVERIFY(manager->authenticateSlot(kSlot) && manager->releaseSlot(kSlot));
            QVERIFY(manager->freeSlots().contains(kSlot));
        }
        // Never a mixture of two records.
        QVERIFY(payload.isEmpty() || payload == fresh || payload == payloadFor(kSlot));
    }
    qInfo("%d cut points", cutPoints - 1);
    QVERIFY(cutPoints > 6);
}

QTEST_GUILESS_MAIN(TestSlotStore)

#include "tst_slot_store.moc"
