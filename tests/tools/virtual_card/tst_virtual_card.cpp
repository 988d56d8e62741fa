#include "virtual_card/card.h"

#include <QTest>

using namespace korvex::virtual_card;

namespace {

/// Commands and answers in hexadecimal. The block is 8, its sector's trailer 11; "open" is by the
/// factory's key A; "useKeys" gives key B all rights.
const QHash<QByteArray, QByteArray> kWords = {
    {"ok", "9000"},
    {"refused", "6982"},
    {"loadFactoryKey", "ff82000006ffffffffffff"},
    {"loadKeyA", "ff82200006a0a1a2a3a4a5"},
    {"open", "ff860000050100086000"},
    {"openByB", "ff860000050100086101"},
    {"read", "ffb0000810"},
    {"write", "ffd600081078787878787878787878787878787878"},
    {"written", "787878787878787878787878787878789000"},
    {"readTrailer", "ffb0000b10"},
    {"useKeys", "ffd6000b10a0a1a2a3a4a50f00ff69b0b1b2b3b4b5"}};

QByteArray send(Card& card, const QByteArray& command)
{
    const QByteArray hex = kWords.value(command, command);
    const QByteArray answer = card.transmit(QByteArray::fromHex(hex)).value_or(QByteArray());
    return kWords.key(answer.toHex(), answer.toHex());
}

std::unique_ptr<Card> classic()
{
    return *Card::create({.type = *cardType("classic-1k"), .uid = "\x0f-<K"});
}

} // namespace

class TestVirtualCard : public QObject
{
    Q_OBJECT

private slots:
    void rights();
    void exchanges();
    void vanishing();
};

void TestVirtualCard::rights()
{
    // MF1S50yyX data sheet, figure 10 and tables 8 and 7; by "*" both keys have the right. Data:
    // read, write. Trailer: write A; read, write bits; read, write B.
    const QMap<QByteArray, QByteArray> table = {{"ff0780", "** AAAAA"}, {"08778f", "*B B*B-B"},
                                                {"ff0f00", "** AA-AA"}, {"ff00f0", "*- AAAAA"},
                                                {"0f0f0f", "*- -A-A-"}, {"0f00ff", "BB B*B-B"},
                                                {"f0ff00", "*B B*--B"}, {"f0f0f0", "B- -*B--"},
                                                {"00ff0f", "*B -*---"}, {"00f0ff", "-- -*---"}};
    for (auto row = table.begin(); row != table.end(); ++row) {
        QByteArray block = QByteArray(6, 'a') + QByteArray::fromHex(row.key());
        const auto conditions = AccessConditions::of(block);
        const auto& [writeA, readBits, writeBits, readB, writeB] = conditions->trailer();
        for (int place = 0; place < 3; ++place) {
            QByteArray found;
            const auto& [read, write] = conditions->data(place);
            for (const By who : {read, write, writeA, readBits, writeBits, readB, writeB})
                found += "-AB*"[static_cast<int>(who)];
            QCOMPARE(found.insert(2, ' '), *row);
        }
    }
}

void TestVirtualCard::exchanges()
{
    // Command, answer, command, answer ...
    for (const auto& [exchanges, misbehaviour] :
         {std::pair("read refused loadFactoryKey ok open ok write ok read written readTrailer "
                    "000000000000ff078069ffffffffffff9000 ffb0000c10 refused read refused loadKeyA "
                    "ok open 6300 ff82000106ffffffffffff ok openByB ok read refused",
                    ""),
          {"loadFactoryKey ok open ok useKeys ok open 6300 loadKeyA ok ff82000106b0b1b2b3b4b5 ok "
           "open ok "
           "readTrailer 0000000000000f00ff690000000000009000 read refused open ok write refused "
           "openByB ok write ok read written",
           ""},
          {"loadFactoryKey ok open ok ffd6000b1000000000000000000000000000000000 ok read refused",
           ""},
          {"loadFactoryKey 6a81 loadKeyA ok", "refuse-volatile-keys"},
          {"ffca000000 6104 00c0000004 0f2d3c4b9000", "get-response"}}) {
        Misbehaviour parsed;
        QCOMPARE(parseMisbehaviour(misbehaviour, parsed), *misbehaviour != '\0');
        const auto card = classic();
        card->setMisbehaviour(parsed);
        const QByteArrayList words = QByteArray(exchanges).split(' ');
        for (int command = 0; command < words.size(); command += 2)
            QCOMPARE(send(*card, words[command]), words[command + 1]);
    }
}

void TestVirtualCard::vanishing()
{
    for (const bool executing : {false, true}) {
        const auto card = classic();
        send(*card, "loadFactoryKey");
        card->setMisbehaviour({.vanishAfter = 1, .vanishAfterExecuting = executing});
        QCOMPARE(send(*card, "open"), QByteArray("ok"));
        QCOMPARE(send(*card, "write"), QByteArray());
        QCOMPARE(card->image().contains("xxxx"), executing);
        card->setMisbehaviour({});
        QCOMPARE(send(*card, "read"), QByteArray("refused"));
    }
}

QTEST_GUILESS_MAIN(TestVirtualCard)
#include "tst_virtual_card.moc"
