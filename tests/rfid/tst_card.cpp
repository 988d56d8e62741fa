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
    void init() { m_script = CardScript(); }

    void responses();
    void keys();
    void authentication();
    void blocks();
    void sectorData();
    void lostCard();

private:
    CardScript m_script;
    CardMifareClassic_1K m_card{{std::make_unique<ScriptedConnection>(m_script), "reader", {}}};
};

void TestCard::responses()
{
    const korvex::ISO7816Parser parser;
    const auto parsed = [&](const char* hex) { return parser.parse(QByteArray::fromHex(hex)); };
    QCOMPARE(parsed("90009000"), std::optional(QByteArray::fromHex("9000")));
    for (const char* const failure : {"", "00", "6300", "9001", "90009001"})
        QVERIFY2(!parsed(failure), failure);
}

void TestCard::keys()
{
    QVERIFY(m_card.loadKey("\1\2\3\4", 7, false));
    QVERIFY(m_card.loadKey("\1\2\3\4\5\6\7\10", 1, true));
    QCOMPARE(m_script.sent, QByteArrayList({"FF82200706010203040000", "FF82000106010203040506"}));

    const auto loaded = [this] {
        m_script.sent.clear();
        return m_card.loadKeyAnywhere(QByteArray(6, '\xFF'), KeyType::B, 3);
    };
    QVERIFY(loaded());
    QCOMPARE(m_script.sent.size(), 1); // volatile memory is enough
    m_script.answers["FF82000306FFFFFFFFFFFF"] = "6A81";
    const auto reference = loaded();
    QVERIFY(reference && reference->type == KeyType::B && reference->number == 3);
    QCOMPARE(reference->connection, m_card.connection());
    m_script.answers["FF82200306FFFFFFFFFFFF"] = "6300";
    QVERIFY(!loaded());
}

void TestCard::authentication()
{
    QVERIFY(m_card.authenticate({KeyType::A, 0, {}, nullptr}, 4));
    m_script.otherwise = "6300";
    QVERIFY(!m_card.authenticate({KeyType::B, 2, {}, nullptr}, 0x7C));
    QCOMPARE(m_script.sent, QByteArrayList({"FF860000050100046000", "FF8600000501007C6102"}));
}

void TestCard::blocks()
{
    QVERIFY(m_card.writeBlock(4, "\1\2\3\4\5", true));
    QVERIFY(m_card.writeBlock(3, QByteArray(16, '\x7F'), false));
    m_script.otherwise = "00112233449000";
    QCOMPARE(m_card.readBlock(4, 5).toHex(), QByteArray("0011223344"));
    m_card.readBlock(4, 100);
    QVERIFY(!m_card.writeBlock(4, QByteArray(17, 'x'), false));
    QVERIFY(!m_card.writeBlock(63, "x", true));
    QCOMPARE(m_script.sent, QByteArrayList({"FFD600041001020304050000000000000000000000",
                                            "FFD6000310" + QByteArray("7F").repeated(16),
                                            "FFB0000405", "FFB0000410"}));
}

void TestCard::sectorData()
{
    QVERIFY(!m_card.writeSectorData(2, QByteArray(49, 'x')));
    QVERIFY(m_card.writeSectorData(2, QByteArray(48, 'x')));
    QVERIFY(m_card.writeSectorData(2, QByteArray(17, 'x')));
    QByteArrayList blocks;
    for (const QByteArray& command : qAsConst(m_script.sent))
        blocks.append(command.mid(6, 2));
    QCOMPARE(blocks.join(' '), QByteArray("08 09 0A 08 09"));
}

void TestCard::lostCard()
{
    m_script.otherwise.clear();
    QCOMPARE(m_card.readUid(), QByteArray());
    QVERIFY(!m_card.writeSectorData(2, QByteArray(48, 'x')));
    QCOMPARE(m_script.sent.size(), 2); // nothing after the first block that failed
    QVERIFY(!CardMifareClassic_1K({nullptr, "reader", {}}).loadKey("secret", 0, true));
}

QTEST_GUILESS_MAIN(TestCard)

#include "tst_card.moc"
