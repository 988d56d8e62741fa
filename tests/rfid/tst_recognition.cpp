#include "core/process_state.h"
#include "rfid/card_manager_factory.h"
#include "rfid/scripted_connection.h"
#include "rfid/sdk/atr.h"
#include "rfid/sdk/card_factory.h"
#include "rfid/sdk/card_mifare_plus.h"

#include <QtTest>

using namespace korvex::rfid;
using namespace korvex::rfid::sdk;
using korvex::test::CardScript;
using korvex::test::ScriptedConnection;

namespace {

/// The answer to reset of a storage card (PC/SC part 3, 3.1.3.2.3.2) with this name.
QByteArray storageCard(const QByteArray& name)
{
    return QByteArray::fromHex("3B8F8001804F0CA00000030603" + name + "000000006A");
}

QString nameOf(const QByteArray& atr)
{
    const auto type = parseAtr(atr);
    return type ? cardTypeName(*type) : "none";
}

} // namespace

class TestRecognition : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void storageCards();
    void otherAnswers();
    void protocols();
    void plusProbe();

private:
    korvex::test::ProcessState m_state;
};

void TestRecognition::storageCards()
{
    // Names of PC/SC part 3 supplemental document, 3.1.3.2.3.2; sectors, blocks in each, bytes in
    // each block, bytes in a slot; none: an unknown memory.
    for (const auto& [name, number, geometry] :
         {std::tuple("Mifare Classic 1K", "0001", "16 4 16 38"),
          {"Mifare Classic 4K", "0002", "0 0 0 0"},
          {"Mifare Ultralight", "0003", "0 0 0 0"},
          {"Mifare Mini", "0026", "0 0 0 0"},
          {"Topaz and Jewel", "0030", ""},
          {"Mifare Plus 2K SL1", "0036", "32 4 16 38"},
          {"Mifare Plus 4K SL1", "0037", "0 0 0 -10"},
          {"Mifare Plus 2K SL2", "0038", "32 4 16 0"},
          {"Mifare Plus 4K SL2", "0039", "0 0 0 0"},
          {"Mifare Ultralight C", "003A", "0 0 0 0"},
          {"FeliCa", "003B", ""},
          {"JCOP 30", "0028FF", ""}, // deliberately not as it is registered
          {"<Unknown>", "FF28", ""}}) {
        const QByteArray atr = storageCard(number);
        QCOMPARE(nameOf(atr), QString(name));
        CardScript script;
        const std::shared_ptr<Card> card =
            makeCard({std::make_unique<ScriptedConnection>(script), "reader", atr}, *parseAtr(atr));
        const bool known = *geometry != '\0';
        QCOMPARE(card->displayName(), QString(known ? name : "<Unknown>"));
        const auto manager = makeCardManager(card);
        const auto [sectors, blocks, bytes] = card->geometry();
        const int slotSize = manager ? (*manager)->slotSize() : 0;
        QCOMPARE(QString::asprintf("%s: %d %d %d %d", name, sectors, blocks, bytes, slotSize),
                 QString("%1: %2").arg(name, known ? geometry : "0 0 0 0"));
        const QString warning = "[Warning] Could not recognize authenticator, ATR: '3B:8F:80:01:";
        QCOMPARE(m_state.takeLog().filter(warning).size(), known ? 0 : 1);
        QCOMPARE(card->loadKeyAnywhere("secret", KeyType::A, 0).has_value(), known);
        if (!manager) {
            QCOMPARE(static_cast<int>(manager.error().code), 13);
            QCOMPARE(manager.error().message, '\'' + card->displayName() + "' is not supported");
        }
    }
}

void TestRecognition::otherAnswers()
{
    const auto named = [](const char* hex) { return nameOf(QByteArray::fromHex(hex)); };
    QCOMPARE(named("3B8180018080"), QString("DESFire"));
    QCOMPARE(named("3B8F8001A00000030603000100"), QString("Mifare Classic 1K"));
    // A byte more or another one than DESFire has; another number of historical bytes; another
    // provider; a name that is cut.
    for (const char* const unknown :
         {"3B818001808000", "3B8180018081", "3B8E8001804F0CA00000030603000100000000006A",
          "3B8F8001804F0CA00000030703000100000000006A", "3B8F8001A000000306030001"})
        QCOMPARE(named(unknown), QString("<Unknown>"));
    // Too short; inverse convention; other interface bytes; another first or second protocol.
    for (const char* const none :
         {"3B8F80", "3F8F8001804F", "3B0F8001804F", "3B8F0001804F", "3B8F8002804F"})
        QCOMPARE(named(none), QString("none"));
}

void TestRecognition::protocols()
{
    const auto offered = [](const char* hex) { return offersT1(QByteArray::fromHex(hex)); };
    for (const char* const with : {"3B8001", "3BF01122338100", "3BF0112233D0AABB0100"})
        QVERIFY2(offered(with), with);
    // T=0 alone; no TD; cut before a TD, within a group, before T0.
    for (const char* const without : {"3B8000", "3B701122330100", "3B8080", "3BF01122", "3B"})
        QVERIFY2(!offered(without), without);
}

void TestRecognition::plusProbe()
{
    // What is logged, if anything; the pattern in the ATR; the answer to "get version"; the keys
    // that the card knows; its name.
    for (const auto& [title, pattern, version, keys, name] :
         {std::tuple("Mifare Plus SE _1K SL3 EV0", "C105213010F6D1", "1C", "0040",
                     "Mifare Plus SE 1K SL3"),
          {"Mifare Plus SE _1K SL0 EV0", "C105213000F6D1", "1C", "0080", "Mifare Plus SE 1K SL0"},
          {"Mifare Plus S _2K SL3 EV0", "C1052F2F0035C7", "1C", "0040 2040", "Mifare Plus 2K SL3"},
          {"Mifare Plus X _4K SL3 EV0", "C1052F2F01BCD6", "1C", "0040 2040 4040",
           "Mifare Plus 4K SL3"},
          {"Mifare Plus  _2K SL0 EV1", "", "AF04020111001605", "0080", "Mifare Plus 2K SL0"},
          {"Mifare Plus  _4K SL0 EV2", "", "AF04020122001805", "0080", "Mifare Plus 4K SL0"},
          {"Mifare Plus  _8K SL3 EV2", "", "AF04020122001A05", "0040", "DESFire"},
          // The version of another family, so the size is that of the sectors.
          {"Mifare Plus  _1K SL3 EV0", "", "AF04010122001805", "0040", "Mifare Plus SE 1K SL3"},
          {"level 0 of unknown size", "C1052F2F01BCD6", "1C", "0080", "<Unknown>"},
          {"no keys at all", "", "AF04020111001605", "", "<Unknown>"}}) {
        CardScript script;
        script.otherwise = "06";
        script.answers["60"] = version;
        for (const QByteArray& key : QByteArray(keys).split(' '))
            script.answers["70" + key + "00"] = "90" + QByteArray(32, '7');
        const QByteArray atr = QByteArray::fromHex(QByteArray("3B8F8001") + pattern);
        const auto card = makeCard({std::make_unique<ScriptedConnection>(script), "reader", atr},
                                   CardType::DesFire);
        QCOMPARE(QString(title) + ": " + card->displayName(), QString(title) + ": " + name);
        const QString logged = QString("[Verbose 2] ") + title;
        QCOMPARE(m_state.takeLog().contains(logged), logged.contains("Mifare"));
        if (const auto* const plus = dynamic_cast<CardMifarePlus*>(card.get()))
            QCOMPARE(plus->information() ? plus->information()->text() : QString(), QString(title));
    }
}

QTEST_GUILESS_MAIN(TestRecognition)

#include "tst_recognition.moc"
