#include "virtual_card/card.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace korvex::virtual_card;

namespace {

/// Commands and answers in hexadecimal. The block is 8, its sector's trailer 11; "open" is by the
/// factory's key A; "useKeys" gives key B all rights.
const QHash<QByteArray, QByteArray> kWords = {
    {"ok", "9000"},
    {"failed", "6300"},
    {"refused", "6982"},
    {"uid?", "ffca000000"},
    {"uid", "0f1e2d3c9000"},
    {"loadFactoryKey", "ff82000006ffffffffffff"},
    {"loadKeyA", "ff82200106a0a1a2a3a4a5"},
    {"loadKeyB", "ff82000206b0b1b2b3b4b5"},
    {"open", "ff860000050100086000"},
    {"openByA", "ff860000050100086001"},
    {"openByB", "ff860000050100086102"},
    {"read", "ffb0000810"},
    {"nothing", "000000000000000000000000000000009000"},
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

std::unique_ptr<Card> classic(const QString& imagePath = {})
{
    return *Card::create(
        {.type = *cardType("classic-1k"), .imagePath = imagePath, .uid = "\x0f\x1e\x2d\x3c"});
}

} // namespace

class TestVirtualCard : public QObject
{
    Q_OBJECT

private slots:
    void rights();
    void exchanges_data();
    void exchanges();
    void images();
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
        for (int bit = 0; bit < 24; ++bit) {
            QByteArray malformed = block;
            malformed[6 + bit / 8] = static_cast<char>(malformed[6 + bit / 8] ^ 1 << bit % 8);
            QVERIFY(!AccessConditions::of(malformed));
        }
    }
}

void TestVirtualCard::exchanges_data()
{
    QTest::addColumn<QString>("misbehaviour");
    QTest::addColumn<QByteArray>("exchanges"); // command, answer, command, answer ...
    const auto row = [](const char* name, const char* exchanges, const char* misbehaviour = "") {
        QTest::newRow(name) << QString(misbehaviour) << QByteArray(exchanges);
    };
    row("as delivered", "read refused loadFactoryKey ok open ok read nothing readTrailer "
                        "000000000000ff078069ffffffffffff9000 ffb0000c10 refused read refused");
    row("wrong key", "loadFactoryKey ok loadKeyA ok open ok openByA failed read refused");
    row("key B that can be read", "ff82000206ffffffffffff ok openByB ok read refused");
    row("keys in use",
        "loadFactoryKey ok loadKeyA ok loadKeyB ok open ok useKeys ok open failed openByA ok "
        "readTrailer 0000000000000f00ff690000000000009000 read refused openByA ok write refused "
        "openByA ok useKeys refused openByB ok write ok read written useKeys ok");
    row("parts of a trailer",
        "loadFactoryKey ok open ok ffd6000b10ffffffffffffff0f0069ffffffffffff ok useKeys ok "
        "readTrailer 000000000000ff0f0069b0b1b2b3b4b59000");
    row("malformed trailer", "loadFactoryKey ok open ok ffd6000b1000000000000000000000000000000000 "
                             "ok read refused ff82000006000000000000 ok open failed");
    row("manufacturer's block", "loadFactoryKey ok ff860000050100006000 ok "
                                "ffd600001000000000000000000000000000000000 refused");
    row("other commands", "uid? uid 60 6d00 ff00000000 6d00 00a4040000 6e00 "
                          "ff82000005ffffffffff 6989 open 6984 ffb0004010 6a82");
    row("no volatile keys", "loadFactoryKey 6a81 loadKeyA ok", "refuse-volatile-keys");
    row("corrupt", "uid? uid uid? 0f1e2d3c6f00", "corrupt=2:-2");
    row("61", "uid? 6104 00c0000004 uid", "get-response");
    row("6C", "uid? 6c04 ffca000004 uid", "wrong-length");
    row("other answers", "60 af01 60 00 uid? uid", "answer=60:af01 answer=60:00");
}

void TestVirtualCard::exchanges()
{
    QFETCH(QString, misbehaviour);
    QFETCH(QByteArray, exchanges);
    Misbehaviour parsed;
    for (const QString& part : misbehaviour.split(' ', Qt::SkipEmptyParts))
        QVERIFY(parseMisbehaviour(part, parsed));
    const auto card = classic();
    card->setMisbehaviour(parsed);
    QByteArrayList words = exchanges.split(' ');
    while (!words.isEmpty()) {
        const QByteArray command = words.takeFirst();
        QCOMPARE(command + ' ' + send(*card, command), command + ' ' + words.takeFirst());
    }
}

void TestVirtualCard::images()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("card");
    const auto card = classic(path);
    for (const char* const command : {"loadFactoryKey", "open", "write"})
        QCOMPARE(send(*card, command), QByteArray("ok"));
    const QByteArray image = card->image();
    QCOMPARE(classic(path)->image(), image);
    QVERIFY(!Card::create({.type = *cardType("plus-2k-sl1"), .imagePath = path}));
    CardOptions another{.type = *cardType("classic-1k"), .uid = "longuid"};
    QCOMPARE((*Card::create(another))->uid(), another.uid);
    another.imagePath = path;
    QVERIFY(!Card::create(another));

    // No write is claimed that the file does not have.
    QVERIFY(QFile::remove(path) && QDir().mkdir(path));
    QCOMPARE(send(*card, "useKeys"), QByteArray("6581"));
    QCOMPARE(card->image(), image);
}

void TestVirtualCard::vanishing()
{
    for (const bool executing : {false, true}) {
        const auto card = classic();
        send(*card, "loadFactoryKey");
        card->setMisbehaviour({.vanishAfter = 1, .vanishAfterExecuting = executing});
        QCOMPARE(send(*card, "open"), QByteArray("ok"));
        QCOMPARE(send(*card, "write"), QByteArray());
        QCOMPARE(send(*card, "uid?"), QByteArray());
        QCOMPARE(card->image().contains("xxxx"), executing);
        card->setMisbehaviour({});
        QCOMPARE(send(*card, "read"), QByteArray("refused"));
    }
}

QTEST_GUILESS_MAIN(TestVirtualCard)
#include "tst_virtual_card.moc"
