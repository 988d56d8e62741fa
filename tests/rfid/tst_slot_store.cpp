#include "core/openssl_program.h"
#include "rfid/card_manager_factory.h"
#include "rfid/emulated_card.h"
#include "rfid/slot_record.h"

#include <QtTest>

using namespace korvex;
using namespace korvex::rfid;
using sdk::CardType;
using test::factoryCard;
using test::sectorOf;

namespace {

std::unique_ptr<CardManager> managerFor(virtual_card::Card& card)
{
    return *makeCardManager(test::opened(card, CardType::MifareClassic1K));
}

/// Each different, all of the same size.
QByteArray payloadFor(int slot, int size = 38)
{
    return QByteArray::number(1000 + slot).leftJustified(size, static_cast<char>('a' + slot), true);
}

/// Gives a sector another program's key, by that program's own commands.
void occupy(virtual_card::Card& card, int sector)
{
    const QByteArray trailer = QByteArray::number(sector * 4 + 3, 16).rightJustified(2, '0');
    for (const QByteArray& command :
         {QByteArray("FF82000006FFFFFFFFFFFF"), "FF860000050100" + trailer + "6000",
          "FFD600" + trailer + "10A0A1A2A3A4A5FF078069B0B1B2B3B4B5"})
        card.transmit(QByteArray::fromHex(command));
}

QString textOf(const KorvexError<ErrorCode>& error)
{
    return QStringLiteral("%1 %2").arg(static_cast<int>(error.code)).arg(error.message);
}

} // namespace

/// The store against an emulated card that shares no code with it.
class TestSlotStore : public QObject
{
    Q_OBJECT

private slots:
    void wholeCard();
    void refusedPayloads();
    void noFreeSlot();
    void altered();
    void tornWrites() { tear(false, false); }
    void tornOverwrites() { tear(true, false); }
    void tornReleases() { tear(true, true); }

private:
    static void tear(bool owned, bool release);
};

void TestSlotStore::wholeCard()
{
    const auto card = factoryCard();
    const QByteArray before = card->image();
    const auto manager = managerFor(*card);
    // The key of the card: the first bytes of the MD5 of its identifier and the program's name.
    const QByteArray key = QByteArray::fromHex(
        test::opensslDigest({"-md5"}, card->uid() + QByteArray("Korvex", 7)).left(12));
    const QByteArray access = QByteArray::fromHex("FF0780BAFFFFFFFFFFFF");
    QByteArray full = sectorOf(before, 0);
    for (quint8 slot = 1; slot <= 15; ++slot) {
        QCOMPARE(manager->findFreeSlot().value_or(0), slot);
        QVERIFY(manager->writeSlot(slot, payloadFor(slot)));
        full += encodeSlotRecord(payloadFor(slot)) + key + access;
    }
    QCOMPARE(card->image(), full);
    const QVector<Slot> found = managerFor(*card)->readSlots();
    for (quint8 slot = 1; slot <= 15; ++slot) {
        QCOMPARE(found.value(slot - 1).number, slot);
        QCOMPARE(found.value(slot - 1).payload, payloadFor(slot));
        QVERIFY(manager->authenticateSlot(slot) && manager->releaseSlot(slot));
    }
    const QByteArray released = QByteArray(48, '\0') + QByteArray(6, '\xFF') + access;
    QCOMPARE(card->image(), sectorOf(before, 0) + released.repeated(15));

    // The manufacturer's sector is none of the slots, and nothing ever went near it.
    QVERIFY(!manager->authenticateSlot(0) && !manager->protectSlot(0) && !manager->releaseSlot(0));
    for (const QByteArray& command : card->commands())
        if (const bool opens = command.startsWith("\xFF\x86");
            opens || command.startsWith("\xFF\xB0") || command.startsWith("\xFF\xD6"))
            QVERIFY(static_cast<quint8>(command.at(opens ? 7 : 3)) >= 4);
}

void TestSlotStore::refusedPayloads()
{
    const auto card = factoryCard();
    const QByteArray before = card->image();
    const auto manager = managerFor(*card);
    QVERIFY(manager->findFreeSlot());
    for (const int size : {0, 39})
        QCOMPARE(textOf(manager->writeSlot(1, QByteArray(size, 'x')).error()),
                 QString("10 Failed to write data on the RFID authenticator, slot: '1', "
                         "data size: '%1'")
                     .arg(size + 10));
    QVERIFY(!manager->writeSlot(0, "payload") && !manager->writeSlot(16, "payload"));
    QCOMPARE(card->image(), before);

    // No key is made from an identifier that cannot be read.
    card->setMisbehaviour({.form = virtual_card::Misbehaviour::Form::GetResponse});
    QVERIFY(!manager->writeSlot(1, "payload"));
    QCOMPARE(sectorOf(card->image(), 1).right(16), sectorOf(before, 1).right(16));
}

void TestSlotStore::noFreeSlot()
{
    const auto card = factoryCard();
    for (int sector = 1; sector <= 15; ++sector)
        occupy(*card, sector);
    const auto manager = managerFor(*card);
    QCOMPARE(textOf(manager->findFreeSlot().error()),
             QString("8 No space left on the RFID authenticator"));
    card->setMisbehaviour({.vanishAfter = 10});
    QCOMPARE(textOf(manager->findFreeSlot().error()),
             QString("12 The RFID authenticator removed during free space scan"));
}

void TestSlotStore::altered()
{
    const auto card = factoryCard();
    occupy(*card, 1);
    const auto manager = managerFor(*card);
    for (quint8 slot = 2; slot <= 3; ++slot)
        QVERIFY(manager->findFreeSlot() && manager->writeSlot(slot, payloadFor(slot)));
    // What was longer before leaves nothing behind.
    QVERIFY(manager->authenticateSlot(3) && manager->writeSlot(3, "short"));
    QCOMPARE(sectorOf(card->image(), 3).left(48),
             encodeSlotRecord("short").leftJustified(48, '\0'));
    // A damaged slot is left out; the others are read all the same.
    QVERIFY(manager->authenticateSlot(2));
    QVERIFY(card->transmit(QByteArray::fromHex("FFD6000910") + QByteArray(16, 'x')));
    const auto readable = manager->readSlots();
    QVERIFY(readable.size() == 1 && readable[0].payload == "short");
}

/// The slot holds a record before when it is `owned`. The card leaves before each command of the
/// operation and, at every other cut point, behind it.
void TestSlotStore::tear(bool owned, bool release)
{
    constexpr quint8 kSlot = 3;
    const QByteArray fresh = payloadFor(9, 30);
    int cutPoints = 0;
    for (bool complete = false; !complete; ++cutPoints) {
        QVERIFY2(cutPoints < 400, "the operation never completes");
        const auto card = factoryCard();
        occupy(*card, 5);
        auto manager = managerFor(*card);
        for (quint8 slot = 1; slot <= (owned ? kSlot : kSlot - 1); ++slot)
            QVERIFY(manager->findFreeSlot() && manager->writeSlot(slot, payloadFor(slot)));
        QByteArray before = card->image();

        card->setMisbehaviour(
            {.vanishAfter = cutPoints / 2, .vanishAfterExecuting = cutPoints % 2 != 0});
        complete =
            owned ? manager->authenticateSlot(kSlot) : manager->findFreeSlot().value_or(0) == kSlot;
        complete = complete && (release ? manager->releaseSlot(kSlot)
                                        : manager->writeSlot(kSlot, fresh).has_value());

        // The card comes back to another run of the program; nothing but the slot has changed.
        card->setMisbehaviour({});
        card->cutPower();
        before.replace(kSlot * 64, 64, sectorOf(card->image(), kSlot));
        QCOMPARE(card->image(), before);
        manager = managerFor(*card);
        const bool free = manager->freeSlots().contains(kSlot);
        const bool ours = manager->authenticateSlot(kSlot);
        QVERIFY2(free != ours, qPrintable(QString::number(cutPoints)));
        const QByteArray payload = manager->readSlots().value(kSlot - 1).payload;
        if (complete)
            QVERIFY(release ? free : payload == fresh);
        // Never a mixture of two records, and a slot without one can be given back.
        QVERIFY(payload.isEmpty() || payload == fresh || payload == payloadFor(kSlot));
        if (ours && payload.isEmpty())
            QVERIFY(manager->authenticateSlot(kSlot) && manager->releaseSlot(kSlot) &&
                    manager->freeSlots().contains(kSlot));
    }
    QVERIFY(cutPoints > 12);
}

QTEST_GUILESS_MAIN(TestSlotStore)

#include "tst_slot_store.moc"
