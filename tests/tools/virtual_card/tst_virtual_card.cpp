#include "virtual_card/card.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace korvex::virtual_card;

namespace {

constexpr int kBlock = 8; // the first of the sector that the tests use
constexpr int kTrailer = 11;
const QByteArray kKeyA(6, 'A');
const QByteArray kKeyB(6, 'B');
const QByteArray kContent(16, 'x');
const QByteArray kOk = QByteArray::fromHex("9000");
const QByteArray kFailed = QByteArray::fromHex("6300");
const QByteArray kRefused = QByteArray::fromHex("6982");
const QByteArray kGetUid = QByteArray::fromHex("ffca000000");

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (const int value : values)
        result += static_cast<char>(value);
    return result;
}

/// Bytes 6 to 8 of a trailer by figure 10 of the MF1S50yyX data sheet, with the same bits C1 C2 C3
/// for the three data blocks.
QByteArray accessBytes(int data, int trailer)
{
    const auto nibble = [&](int shift) {
        return (trailer >> shift & 1) << 3 | (data >> shift & 1) * 7;
    };
    const int c1 = nibble(2);
    const int c2 = nibble(1);
    const int c3 = nibble(0);
    return bytes({(15 - c2) << 4 | (15 - c1), c1 << 4 | (15 - c3), c3 << 4 | c2});
}

/// A card in a file, and a reader that knows the keys 0 (A), 1 (B) and 2 (the factory's).
struct Rig
{
    explicit Rig(const QByteArray& trailer = {})
    {
        open();
        if (!trailer.isEmpty()) {
            authenticate(Key::A, 2);
            update(kTrailer, trailer);
            card->cutPower();
        }
    }
    void open()
    {
        card = *Card::create({.type = *cardType("classic-1k"), .imagePath = path});
        int number = 0;
        for (const QByteArray& key : {kKeyA, kKeyB, QByteArray(6, '\xff')})
            card->transmit(bytes({0xff, 0x82, 0x20, number++, 6}) + key);
    }
    QByteArray authenticate(Key key, int number, int block = kBlock) const
    {
        return *card->transmit(
            bytes({0xff, 0x86, 0, 0, 5, 1, 0, block, static_cast<int>(key), number}));
    }
    /// As whom the sector's own keys are for.
    bool authenticate(Key key) const { return authenticate(key, key == Key::A ? 0 : 1) == kOk; }
    QByteArray read(int block = kBlock) const
    {
        return *card->transmit(bytes({0xff, 0xb0, 0, block, 16}));
    }
    QByteArray update(int block, const QByteArray& content) const
    {
        return *card->transmit(bytes({0xff, 0xd6, 0, block, 16}) + content);
    }

    QTemporaryDir folder;
    QString path = folder.filePath("card");
    std::unique_ptr<Card> card;
};

QByteArray trailerWith(int data, int trailer)
{
    return kKeyA + accessBytes(data, trailer) + 'g' + kKeyB;
}

bool includes(const QString& who, Key key)
{
    return who.contains(key == Key::A ? 'A' : 'B');
}

} // namespace

class TestVirtualCard : public QObject
{
    Q_OBJECT

private slots:
    void dataBlocks_data();
    void dataBlocks();
    void trailers_data();
    void trailers();
    void malformedAccessBits();
    void session();
    void images();
    void vanishing();
    void exchanges_data();
    void exchanges();
};

void TestVirtualCard::dataBlocks_data()
{
    // As delivered, and one that is in use: the tables rest on these bytes.
    QCOMPARE(accessBytes(0b000, 0b001).toHex(), QByteArray("ff0780"));
    QCOMPARE(accessBytes(0b110, 0b011).toHex(), QByteArray("08778f"));
    // MF1S50yyX data sheet, table 8.
    QTest::addColumn<int>("bits");
    QTest::addColumn<QString>("mayRead");
    QTest::addColumn<QString>("mayWrite");
    const QStringList readers{"AB", "AB", "AB", "B", "AB", "B", "AB", ""};
    const QStringList writers{"AB", "", "", "B", "B", "", "B", ""};
    for (int bits = 0b000; bits <= 0b111; ++bits)
        QTest::addRow("%d%d%d", bits >> 2, bits >> 1 & 1, bits & 1)
            << bits << readers[bits] << writers[bits];
}

void TestVirtualCard::dataBlocks()
{
    QFETCH(const int, bits);
    QFETCH(const QString, mayRead);
    QFETCH(const QString, mayWrite);
    for (const Key key : {Key::A, Key::B}) {
        const Rig rig(trailerWith(bits, 0b011));
        QVERIFY(rig.authenticate(key));
        QCOMPARE(rig.read(), includes(mayRead, key) ? QByteArray(16, 0) + kOk : kRefused);
        QVERIFY(rig.authenticate(key)); // a refusal ends the authentication
        const bool isWritten = includes(mayWrite, key);
        QCOMPARE(rig.update(kBlock + 2, kContent), isWritten ? kOk : kRefused);
        QCOMPARE(rig.card->image().mid((kBlock + 2) * 16, 16),
                 isWritten ? kContent : QByteArray(16, 0));
    }
}

void TestVirtualCard::trailers_data()
{
    // MF1S50yyX data sheet, table 7. Key A is never read.
    QTest::addColumn<int>("bits");
    QTest::addColumn<QStringList>("rights"); // write A; read, write bits; read, write B
    QTest::newRow("000") << 0b000 << QStringList{"A", "A", "", "A", "A"};
    QTest::newRow("010") << 0b010 << QStringList{"", "A", "", "A", ""};
    QTest::newRow("100") << 0b100 << QStringList{"B", "AB", "", "", "B"};
    QTest::newRow("110") << 0b110 << QStringList{"", "AB", "", "", ""};
    QTest::newRow("001") << 0b001 << QStringList{"A", "A", "A", "A", "A"};
    QTest::newRow("011") << 0b011 << QStringList{"B", "AB", "B", "", "B"};
    QTest::newRow("101") << 0b101 << QStringList{"", "AB", "B", "", ""};
    QTest::newRow("111") << 0b111 << QStringList{"", "AB", "", "", ""};
}

void TestVirtualCard::trailers()
{
    QFETCH(const int, bits);
    QFETCH(const QStringList, rights);
    const QByteArray before = trailerWith(0, bits);
    const QByteArray wanted = QByteArray(6, 'a') + accessBytes(0, 0b110) + 'h' + QByteArray(6, 'b');
    for (const Key key : {Key::A, Key::B}) {
        const auto may = [&](int right) { return includes(rights[right], key); };
        const Rig rig(before);
        QVERIFY(rig.authenticate(key));
        const QByteArray shown =
            QByteArray(6, 0) + before.mid(6, 4) + (may(3) ? kKeyB : QByteArray(6, 0)) + kOk;
        QCOMPARE(rig.read(kTrailer), may(1) ? shown : kRefused);
        // Where key B can be read, it authenticates but is good for nothing.
        rig.authenticate(key);
        const bool isUseless = key == Key::B && !rights[3].isEmpty();
        QCOMPARE(rig.read(), isUseless ? kRefused : QByteArray(16, 0) + kOk);

        rig.authenticate(key);
        const bool writesAny = may(0) || may(2) || may(4);
        QCOMPARE(rig.update(kTrailer, wanted), writesAny ? kOk : kRefused);
        QCOMPARE(rig.card->image().mid(kTrailer * 16, 16),
                 (may(0) ? wanted : before).left(6) + (may(2) ? wanted : before).mid(6, 4) +
                     (may(4) ? wanted : before).right(6));
        // The keys that now stand there count, and no others.
        QCOMPARE(rig.authenticate(Key::A), !may(0));
        QCOMPARE(rig.authenticate(Key::B), !may(4));
    }
}

void TestVirtualCard::malformedAccessBits()
{
    for (int bit = 0; bit < 24; ++bit) {
        QByteArray trailer = trailerWith(0, 0b001);
        char& byte = trailer.data()[6 + bit / 8];
        byte = static_cast<char>(byte ^ 1 << bit % 8);
        Rig rig;
        QCOMPARE(rig.authenticate(Key::A, 2), kOk);
        QCOMPARE(rig.update(kTrailer, trailer), kOk);
        QCOMPARE(rig.read(), kRefused);
        rig.open();
        QVERIFY(!rig.authenticate(Key::A));
    }
}

void TestVirtualCard::session()
{
    const Rig rig(trailerWith(0, 0b011));
    QCOMPARE(rig.read(), kRefused);
    QVERIFY(rig.authenticate(Key::A));
    QCOMPARE(rig.read(kBlock + 4), kRefused); // the next sector
    QCOMPARE(rig.read(), kRefused);
    QVERIFY(rig.authenticate(Key::A));
    QCOMPARE(rig.authenticate(Key::A, 1), kFailed);
    QCOMPARE(rig.read(), kRefused);
    QVERIFY(rig.authenticate(Key::A));
    rig.card->cutPower();
    QCOMPARE(rig.read(), kRefused);

    QCOMPARE(rig.authenticate(Key::A, 2, 0), kOk);
    QCOMPARE(rig.update(0, kContent), kRefused);
    QCOMPARE(rig.card->image().left(4), rig.card->uid());
}

void TestVirtualCard::images()
{
    Rig rig;
    rig.authenticate(Key::A, 2);
    QCOMPARE(rig.update(kBlock, kContent), kOk);
    const QByteArray image = rig.card->image();
    rig.open();
    QCOMPARE(rig.card->image(), image);
    QCOMPARE(rig.card->uid(), image.left(4));

    // What is no image of the wanted card is refused and stays as it is.
    const CardType plus = *cardType("plus-2k-sl1");
    const QByteArray uid = QByteArray::fromHex("04112233445566");
    QVERIFY(!Card::create({.type = plus, .imagePath = rig.path}));
    QVERIFY(!Card::create({.type = *cardType("classic-1k"), .imagePath = rig.path, .uid = uid}));
    rig.open();
    QCOMPARE(rig.card->image(), image);
    const QString path = rig.folder.filePath("plus");
    QVERIFY(Card::create({.type = plus, .imagePath = path, .uid = uid}));
    QCOMPARE((*Card::create({.type = plus, .imagePath = path}))->uid(), uid);

    // Nor is a write claimed that the file does not have.
    rig.authenticate(Key::A, 2);
    QVERIFY(QFile::remove(rig.path) && QDir().mkdir(rig.path));
    QCOMPARE(rig.update(kBlock, QByteArray(16, 'y')), QByteArray::fromHex("6581"));
    QCOMPARE(rig.card->image(), image);
}

void TestVirtualCard::vanishing()
{
    for (const bool executing : {false, true}) {
        const Rig rig;
        rig.card->setMisbehaviour({.vanishAfter = 1, .vanishAfterExecuting = executing});
        QCOMPARE(rig.authenticate(Key::A, 2), kOk);
        const QByteArray update = bytes({0xff, 0xd6, 0, kBlock, 16}) + kContent;
        QVERIFY(!rig.card->transmit(update));
        QVERIFY(!rig.card->transmit(kGetUid));
        QCOMPARE(rig.card->image().contains(kContent), executing);
        QCOMPARE(rig.card->commands().rbegin()[1], update);
        rig.card->setMisbehaviour({});
        QCOMPARE(rig.read(), kRefused);
    }
}

void TestVirtualCard::exchanges_data()
{
    QTest::addColumn<QString>("misbehaviour");
    QTest::addColumn<QByteArrayList>("exchanges"); // command, answer, command, answer ...
    const auto row = [](const char* name, const char* misbehaviour, const QByteArrayList& list) {
        QTest::newRow(name) << QString(misbehaviour) << list;
    };
    const QByteArray uid = "0f1e2d3c9000";
    row("UID", "", {"ffca000000", uid, "ffca000003", "6c04", "ffca010000", "6a81"});
    row("unknown", "", {"60", "6d00", "ff00000000", "6d00", "00a4040000", "6e00"});
    row("keys", "", {"ff82000005ffffffffff", "6989", "ff82002006ffffffffffff", "6988"});
    row("authentication", "", {"ff860000050100086003", "6984", "ff8600000501000860", "6700"});
    row("unknown key type", "", {"ff82000006ffffffffffff", "9000", "ff860000050100086200", "6986"});
    row("beyond the card", "", {"ffb0004010", "6a82"});
    row("half a block", "", {"ffb0000808", "6c10", "ffd60008080000000000000000", "6700"});
    row("volatile", "refuse-volatile-keys",
        {"ff82000006ffffffffffff", "6a81", "ff82200006ffffffffffff", "9000"});
    row("corrupt", "corrupt=2:-2", {"ffca000000", uid, "ffca000000", "0f1e2d3c6f00"});
    row("61", "get-response", {"ffca000000", "6104", "00c0000004", uid, "00c0000004", "6e00"});
    row("6C", "wrong-length", {"ffca000000", "6c04", "ffca000004", uid});
    row("other answer", "answer=60:af01", {"60", "af01", "ffca000000", uid});
}

void TestVirtualCard::exchanges()
{
    QFETCH(const QString, misbehaviour);
    QFETCH(QByteArrayList, exchanges);
    Misbehaviour parsed;
    QCOMPARE(parseMisbehaviour(misbehaviour, parsed), !misbehaviour.isEmpty());
    const auto card = *Card::create({.type = *cardType("classic-1k"), .uid = "\x0f\x1e\x2d\x3c"});
    card->setMisbehaviour(parsed);
    while (!exchanges.isEmpty()) {
        const QByteArray answer = *card->transmit(QByteArray::fromHex(exchanges.takeFirst()));
        QCOMPARE(answer.toHex(), exchanges.takeFirst());
    }
}

QTEST_GUILESS_MAIN(TestVirtualCard)
#include "tst_virtual_card.moc"
