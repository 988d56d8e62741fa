#include "core/process_state.h"
#include "rfid/card_manager_factory.h"
#include "rfid/scripted_connection.h"
#include "rfid/sdk/atr.h"
#include "rfid/sdk/card_factory.h"
#include "rfid/sdk/card_mifare_plus.h"
#include "rfid/sdk/card_unknown.h"

#include <QtTest>

using namespace korvex::rfid;
using namespace korvex::rfid::sdk;
using korvex::test::CardScript;
using korvex::test::ScriptedConnection;

namespace {

constexpr int kNone = -1;

/// The answer to reset of a storage card (PC/SC part 3, 3.1.3.2.3.2) with this name.
QByteArray storageCard(const QByteArray& name)
{
    return "3B8F8001804F0CA00000030603" + name + "000000006A";
}

} // namespace

class TestRecognition : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void atr_data();
    void atr();
    void protocols_data();
    void protocols();
    void kinds_data();
    void kinds();
    void plusProbe_data();
    void plusProbe();

private:
    korvex::test::ProcessState m_state;
};

void TestRecognition::atr_data()
{
    QTest::addColumn<QByteArray>("atr");
    QTest::addColumn<int>("type");
    // Names of PC/SC part 3 supplemental document, 3.1.3.2.3.2.
    const auto named = [](const char* title, const char* name, int type) {
        QTest::newRow(title) << storageCard(name) << type;
    };
    named("Classic 1K", "0001", 0);
    named("Classic 4K", "0002", 2);
    named("Ultralight", "0003", 3);
    named("Mini", "0026", 5);
    named("Topaz and Jewel", "0030", 17);
    named("Plus 2K SL1", "0036", 9);
    named("Plus 4K SL1", "0037", 11);
    named("Plus 2K SL2", "0038", 10);
    named("Plus 4K SL2", "0039", 12);
    named("Ultralight C", "003A", 4);
    named("FeliCa", "003B", 18);
    named("a name nobody knows", "00FE", 20);
    named("the name of JCOP 30 as it is registered", "FF28", 20);
    const auto row = [](const char* title, const char* hex, int type) {
        QTest::newRow(title) << QByteArray(hex) << type;
    };
    row("JCOP 30 as it is read",
        "3B8F8001804F0CA00000030603"
        "0028FF0000006A",
        19);
    row("DESFire", "3B8180018080", 16);
    row("DESFire with a byte more", "3B818001808000", 20);
    row("DESFire with another byte", "3B8180018081", 20);
    row("another number of historical bytes", "3B88800100000000000000006A", 20);
    row("another provider", "3B8F8001804F0CA00000030703000100000000006A", 20);
    row("two bytes behind the provider", "3B8F8001A0000003060300", 20);
    row("three bytes behind the provider", "3B8F8001A000000306030001", 20);
    row("four bytes behind the provider", "3B8F8001A00000030603000100", 0);
    row("provider cut", "3B8F8001A0000003", 20);
    row("nothing", "", kNone);
    row("three bytes", "3B8F80", kNone);
    row("inverse convention", "3F8F8001804F0CA00000030603000100000000006A", kNone);
    row("other interface bytes", "3B0F8001804F0CA00000030603000100000000006A", kNone);
    row("another first protocol", "3B8F0001804F0CA00000030603000100000000006A", kNone);
    row("another second protocol", "3B8F8002804F0CA00000030603000100000000006A", kNone);
}

void TestRecognition::atr()
{
    QFETCH(QByteArray, atr);
    QFETCH(int, type);
    const auto found = parseAtr(QByteArray::fromHex(atr));
    QCOMPARE(found ? static_cast<int>(*found) : kNone, type);
}

void TestRecognition::protocols_data()
{
    QTest::addColumn<QByteArray>("atr");
    QTest::addColumn<bool>("offered");
    const auto row = [](const char* title, const char* hex, bool offered) {
        QTest::newRow(title) << QByteArray(hex) << offered;
    };
    row("second protocol", "3B8F8001", true);
    row("first protocol", "3B8081", true);
    row("behind TA, TB and TC", "3BF01122338100", true);
    row("behind two groups", "3BF0112233D0AABB0100", true);
    row("T=0 alone", "3B8000", false);
    row("no TD", "3B701122330100", false);
    row("cut before the second TD", "3B8080", false);
    row("cut within the first group", "3BF01122", false);
    row("no T0", "3B", false);
    row("nothing", "", false);
}

void TestRecognition::protocols()
{
    QFETCH(QByteArray, atr);
    QTEST(offersT1(QByteArray::fromHex(atr)), "offered");
}

void TestRecognition::kinds_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("geometry");
    QTest::addColumn<bool>("takesKeys");
    QTest::addColumn<int>("slotSize"); // 0: not served
    const auto row = [](int type, const char* name, const char* geometry, bool keys, int slotSize) {
        QTest::newRow(name) << type << QString(name) << QByteArray(geometry) << keys << slotSize;
    };
    row(0, "Mifare Classic 1K", "10 04 10", true, 38);
    row(2, "Mifare Classic 4K", "00 00 00", true, 0);
    row(3, "Mifare Ultralight", "00 00 00", true, 0);
    row(4, "Mifare Ultralight C", "00 00 00", true, 0);
    row(5, "Mifare Mini", "00 00 00", true, 0);
    row(9, "Mifare Plus 2K SL1", "20 04 10", true, 38);
    row(10, "Mifare Plus 2K SL2", "20 04 10", true, 0);
    row(11, "Mifare Plus 4K SL1", "00 00 00", true, -10);
    row(12, "Mifare Plus 4K SL2", "00 00 00", true, 0);
    // Kinds that only a probe could tell more of become unknown ones when it does not answer.
    for (const int type : {1, 6, 7, 8, 13, 14, 15, 16, 17, 18, 19, 20, 21})
        QTest::addRow("%d", type) << type << QString("<Unknown>") << QByteArray("00 00 00") << false
                                  << 0;
}

void TestRecognition::kinds()
{
    QFETCH(int, type);
    QFETCH(QString, name);
    QFETCH(int, slotSize);
    CardScript script;
    script.otherwise = "6D00";
    const std::shared_ptr<Card> card =
        makeCard({std::make_unique<ScriptedConnection>(script), "reader", "\x3B\x80\x81"},
                 static_cast<CardType>(type));
    QCOMPARE(card->displayName(), name);
    const Geometry& geometry = card->geometry();
    const char bytes[] = {char(geometry.sectors), char(geometry.blocksPerSector),
                          char(geometry.blockSize)};
    QTEST(QByteArray(bytes, 3).toHex(' '), "geometry");
    const bool unknown = dynamic_cast<CardUnknown*>(card.get()) != nullptr;
    QCOMPARE(unknown, name == "<Unknown>");
    QCOMPARE(m_state.takeLog(),
             unknown ? QStringList("[Warning] Could not recognize authenticator, ATR: '3B:80:81'")
                     : QStringList());

    script.otherwise = "9000";
    QTEST(card->loadKeyAnywhere("secret", KeyType::A, 0).has_value(), "takesKeys");

    const auto manager = makeCardManager(card);
    QCOMPARE(manager.has_value(), slotSize != 0);
    if (manager) {
        QCOMPARE((*manager)->slotSize(), slotSize);
    } else {
        QCOMPARE(static_cast<int>(manager.error().code), 13);
        QCOMPARE(manager.error().message, QString("'%1' is not supported").arg(name));
    }
}

void TestRecognition::plusProbe_data()
{
    QTest::addColumn<QByteArray>("patternInAtr");
    QTest::addColumn<QByteArray>("version");  // the answer to "get version"
    QTest::addColumn<QByteArrayList>("keys"); // that the card knows
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("logged");
    const auto row = [](const char* title, const char* pattern, const char* version,
                        const QByteArrayList& keys, const char* name, const char* logged) {
        QTest::newRow(title) << QByteArray(pattern) << QByteArray(version) << keys << QString(name)
                             << QString(logged);
    };
    const QByteArrayList small{"0040"};
    const QByteArrayList medium{"0040", "2040"};
    const QByteArrayList large{"0040", "2040", "4040"};
    const QByteArrayList origin{"0080"};
    row("SE", "C105213010F6D1", "1C", small, "Mifare Plus SE 1K SL3", "SE _1K SL3 EV0");
    row("SE, other pattern, level 0", "C105213000F6D1", "1C", origin, "Mifare Plus SE 1K SL0",
        "SE _1K SL0 EV0");
    row("X of 4 KiB", "C1052F2F01BCD6", "1C", large, "Mifare Plus 4K SL3", "X _4K SL3 EV0");
    row("S of 2 KiB", "C1052F2F0035C7", "1C", medium, "Mifare Plus 2K SL3", "S _2K SL3 EV0");
    row("EV1 of 2 KiB", "", "AF04020111001605", small, "Mifare Plus 2K SL3", " _2K SL3 EV1");
    row("EV2 of 4 KiB, level 0", "", "AF04020122001805", origin, "Mifare Plus 4K SL0",
        " _4K SL0 EV2");
    row("8 KiB", "", "AF04020122001A05", small, "DESFire", " _8K SL3 EV2");
    row("level 0 of unknown size", "C1052F2F01BCD6", "1C", origin, "<Unknown>", "");
    row("no keys at all", "", "AF04020111001605", {}, "<Unknown>", "");
    row("another family", "", "AF04010101001A05", {}, "<Unknown>", "");
}

void TestRecognition::plusProbe()
{
    QFETCH(QByteArray, patternInAtr);
    QFETCH(QByteArray, version);
    QFETCH(QByteArrayList, keys);
    QFETCH(QString, logged);
    CardScript script;
    script.otherwise = "06";
    script.answers["60"] = version;
    for (const QByteArray& key : keys)
        script.answers["70" + key + "00"] = "90" + QByteArray(32, '7');
    const QByteArray atr = QByteArray::fromHex("3B8F8001" + patternInAtr);
    const auto card =
        makeCard({std::make_unique<ScriptedConnection>(script), "reader", atr}, CardType::DesFire);
    QTEST(card->displayName(), "name");
    const auto* const plus = dynamic_cast<CardMifarePlus*>(card.get());
    QCOMPARE(plus && plus->information() ? plus->information()->text() : QString(),
             plus ? "Mifare Plus " + logged : QString());
    // Nothing that could write reached the card.
    for (const QByteArray& command : qAsConst(script.sent))
        QVERIFY2(command == "60" || command.startsWith("70"), command);
    if (!logged.isEmpty())
        QCOMPARE(m_state.takeLog(), QStringList("[Verbose 2] Mifare Plus " + logged));
}

QTEST_GUILESS_MAIN(TestRecognition)

#include "tst_recognition.moc"
