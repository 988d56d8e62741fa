#include "rfid/scripted_connection.h"
#include "rfid/sdk/card_mifare_classic.h"
#include "rfid/sdk/card_response_parser.h"

#include <QtTest>

using namespace korvex::rfid::sdk;
using korvex::test::CardScript;
using korvex::test::ScriptedConnection;

/// The commands that reach a card, PC/SC part 3, 3.2.2.1.
class TestCard : public QObject
{
    Q_OBJECT

private slots:
    void responses_data();
    void responses();
    void keys();
    void keyFallback_data();
    void keyFallback();
    void authentication();
    void blocks();
    void sectorData_data();
    void sectorData();
    void lostCard();

private:
    CardScript m_script;
    CardMifareClassic_1K m_card{{std::make_unique<ScriptedConnection>(m_script), "reader", {}}};

private slots:
    void init() { m_script = CardScript(); }
};

void TestCard::responses_data()
{
    QTest::addColumn<QByteArray>("response");
    QTest::addColumn<QByteArray>("data"); // "none" for a failure
    const auto row = [](const char* response, const char* data) {
        QTest::newRow(response) << QByteArray(response) << QByteArray(data);
    };
    row("9000", "");
    row("0102039000", "010203");
    row("90009000", "9000");
    row("6300", "none");
    row("9001", "none");
    row("0090", "none");
    row("00", "none");
    row("", "none");
}

void TestCard::responses()
{
    QFETCH(QByteArray, response);
    const auto data = korvex::ISO7816Parser().parse(QByteArray::fromHex(response));
    QTEST(data ? data->toHex() : QByteArray("none"), "data");
}

void TestCard::keys()
{
    QVERIFY(m_card.loadKey("\1\2\3\4\5\6", 0, true));
    QVERIFY(m_card.loadKey("\1\2\3\4", 7, false));
    QVERIFY(m_card.loadKey("\1\2\3\4\5\6\7\10", 1, true));
    QCOMPARE(m_script.sent, QByteArrayList({"FF82000006010203040506", "FF82200706010203040000",
                                            "FF82000106010203040506"}));
}

void TestCard::keyFallback_data()
{
    QTest::addColumn<QByteArray>("toVolatile");
    QTest::addColumn<QByteArray>("toOther");
    QTest::addColumn<int>("commands");
    QTest::addColumn<bool>("loaded");
    QTest::newRow("volatile") << QByteArray("9000") << QByteArray("6A81") << 1 << true;
    QTest::newRow("not volatile") << QByteArray("6A81") << QByteArray("9000") << 2 << true;
    QTest::newRow("neither") << QByteArray("6A81") << QByteArray("6300") << 2 << false;
}

void TestCard::keyFallback()
{
    QFETCH(int, commands);
    QFETCH(QByteArray, toVolatile);
    QFETCH(QByteArray, toOther);
    m_script.answers = {{"FF82000306FFFFFFFFFFFF", toVolatile},
                        {"FF82200306FFFFFFFFFFFF", toOther}};
    const auto reference = m_card.loadKeyAnywhere(QByteArray(6, '\xFF'), KeyType::B, 3);
    QTEST(reference.has_value(), "loaded");
    QCOMPARE(m_script.sent.size(), commands);
    if (reference)
        QVERIFY(reference->type == KeyType::B && reference->number == 3 &&
                reference->connection == m_card.connection());
}

void TestCard::authentication()
{
    QVERIFY(m_card.authenticate({KeyType::A, 0, {}, nullptr}, 4));
    QVERIFY(m_card.authenticate({KeyType::B, 2, {}, nullptr}, 0x7C));
    QCOMPARE(m_script.sent, QByteArrayList({"FF860000050100046000", "FF8600000501007C6102"}));
    m_script.otherwise = "6300";
    QVERIFY(!m_card.authenticate({KeyType::A, 0, {}, nullptr}, 4));
}

void TestCard::blocks()
{
    QVERIFY(m_card.writeBlock(4, "\1\2\3\4\5", true));
    QVERIFY(m_card.writeBlock(3, QByteArray(16, '\x7F'), false));
    m_script.answers["FFB0000410"] = "00112233445566778899AABBCCDDEEFF9000";
    m_script.answers["FFB0000405"] = "00112233449000";
    QCOMPARE(m_card.readBlock(4, 100).toHex(), QByteArray("00112233445566778899aabbccddeeff"));
    QCOMPARE(m_card.readBlock(4, 5).toHex(), QByteArray("0011223344"));
    QCOMPARE(m_script.sent,
             QByteArrayList({"FFD600041001020304050000000000000000000000",
                             "FFD6000310" + QByteArray(32, ' ').replace(' ', "7F").left(32),
                             "FFB0000410", "FFB0000405"}));
    m_script.sent.clear();
    QVERIFY(!m_card.writeBlock(4, QByteArray(17, 'x'), false));
    QVERIFY(!m_card.writeBlock(3, "x", true));
    QVERIFY(!m_card.writeBlock(63, "x", true));
    QCOMPARE(m_script.sent, QByteArrayList());
}

void TestCard::sectorData_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArrayList>("blocks");
    QTest::addColumn<bool>("written");
    QTest::newRow("nothing") << 0 << QByteArrayList() << true;
    QTest::newRow("one block") << 16 << QByteArrayList{"08"} << true;
    QTest::newRow("a byte more") << 17 << QByteArrayList{"08", "09"} << true;
    QTest::newRow("all") << 48 << QByteArrayList{"08", "09", "0A"} << true;
    QTest::newRow("too much") << 49 << QByteArrayList() << false;
}

void TestCard::sectorData()
{
    QFETCH(int, size);
    QTEST(m_card.writeSectorData(2, QByteArray(size, 'x')), "written");
    QByteArrayList blocks;
    for (const QByteArray& command : qAsConst(m_script.sent))
        blocks.append(command.mid(6, 2));
    QTEST(blocks, "blocks");
}

void TestCard::lostCard()
{
    m_script.otherwise.clear();
    QCOMPARE(m_card.readUid(), QByteArray());
    QVERIFY(!m_card.writeSectorData(2, QByteArray(48, 'x')));
    QCOMPARE(m_script.sent.size(), 2); // nothing after the first block that failed
    CardMifareClassic_1K without({nullptr, "reader", {}});
    QCOMPARE(without.readUid(), QByteArray());
    QVERIFY(!without.loadKey("secret", 0, true));
}

QTEST_GUILESS_MAIN(TestCard)

#include "tst_card.moc"
