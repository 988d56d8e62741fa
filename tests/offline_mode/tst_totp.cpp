#include "core/process_state.h"
#include "offline_mode/attempt_limiter.h"
#include "offline_mode/base32.h"
#include "offline_mode/key_provider.h"
#include "offline_mode/totp_provider.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>
#include <limits>

using namespace korvex;
using namespace korvex::otp;

namespace {

const QByteArray kRfcKey = "12345678901234567890"; // of RFC 4226 and RFC 6238
const quint64 kNow = 1111111109;

class KnownKey : public KeyProvider
{
public:
    explicit KnownKey(const QByteArray& key)
        : KeyProvider(nullptr)
        , m_key(key)
    {}
    QByteArray key() const override { return m_key; }

private:
    QByteArray m_key;
};

TOTPProvider provider(const QByteArray& key, quint32 digits = 6)
{
    TOTPProvider provider(std::make_shared<KnownKey>(key));
    provider.setDigits(digits);
    return provider;
}

/// The lines that oathtool prints; "refused" with its complaint when it does not accept.
QStringList oathtool(const QStringList& arguments)
{
    QProcess program;
    program.start("oathtool", arguments);
    if (!program.waitForFinished() || program.exitCode() != 0)
        return {"refused", program.errorString(), program.readAllStandardError()};
    return QString(program.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

} // namespace

class TestTotp : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void base32();
    void rfc4226();
    void rfc6238_data();
    void rfc6238();
    void acceptedSteps();
    void againstOathtool();
    void againstOathtoolNow();
    void shortValue();
    void refusals_data();
    void refusals();
    void limiter();
    void limiterSettings_data();
    void limiterSettings();

private:
    test::ProcessState m_state;
};

void TestTotp::base32()
{
    const QByteArray limit(100000, 'A');
    const QList<std::pair<QByteArray, QByteArray>> texts{
        // RFC 4648, section 10
        {"", ""},
        {"MY======", "f"},
        {"MZXQ====", "fo"},
        {"MZXW6===", "foo"},
        {"MZXW6YQ=", "foob"},
        {"MZXW6YTB", "fooba"},
        {"MZXW6YTBOI======", "foobar"},
        {"MZXW6YTBOI", "foobar"},
        {"7777777777777777", QByteArray(10, '\xff')},
        {"MZ", "f"}, // the bits that are left are not zero
        {"M", ""},
        {"=MY", ""},
        {"MZXW6=!y", "foo"},
        {"mzxw6===", ""},
        {"MZXW6YTb", ""},
        {"MZXW 6", ""},
        {"MZXW6\n", ""},
        {"MZXW1", ""},
        {"MZXW0", ""},
        {"MZXW8", ""},
        {QByteArray("MY\0MY", 5), ""},
        {"MZXW\xff", ""},
        {limit, QByteArray(62500, '\0')},
        {limit + '!', QByteArray(62500, '\0')},
        {limit.left(99999) + '!', ""},
    };
    for (const auto& [text, bytes] : texts)
        QCOMPARE(decodeBase32(text), bytes);
}

void TestTotp::rfc4226()
{
    const QStringList values{"1284755224", "1094287082", "137359152", "1726969429", "1640338314",
                             "868254676",  "1918287922", "82162583",  "673399871",  "645520489"};
    const QStringList codes{"755224", "287082", "359152", "969429", "338314",
                            "254676", "287922", "162583", "399871", "520489"};
    for (int counter = 0; counter < values.size(); ++counter) {
        QCOMPARE(provider(kRfcKey).generate(static_cast<quint64>(counter)), codes.at(counter));
        for (quint32 digits = 7; digits <= 13; ++digits) {
            const QString& value = values.at(counter);
            const bool isLongEnough = value.size() >= static_cast<int>(digits);
            QCOMPARE(provider(kRfcKey, digits).generate(static_cast<quint64>(counter)),
                     isLongEnough ? std::optional(value.right(static_cast<int>(digits)))
                                  : std::nullopt);
        }
    }
    const auto algorithm = utils::GetHMACSha1Algorithm();
    QVERIFY(algorithm("k", "m") && !algorithm("", "m") && !algorithm("k", ""));
}

void TestTotp::rfc6238_data()
{
    QTest::addColumn<quint64>("time");
    // A row's name is the code.
    QTest::newRow("94287082") << quint64{59};
    QTest::newRow("07081804") << quint64{1111111109};
    QTest::newRow("14050471") << quint64{1111111111};
    QTest::newRow("89005924") << quint64{1234567890};
    QTest::newRow("69279037") << quint64{2000000000};
    QTest::newRow("65353130") << quint64{20000000000};
}

void TestTotp::rfc6238()
{
    QFETCH(quint64, time);
    TOTPProvider totp = provider(kRfcKey, 8);
    totp.setTimeWindows(0);
    totp.setTimeProvider([&time] { return time; });
    QCOMPARE(totp.generate(time / 30), std::optional<QString>(QTest::currentDataTag()));
    QVERIFY(totp.verify(QTest::currentDataTag()));
    time += 30;
    QVERIFY(!totp.verify(QTest::currentDataTag()));
}

void TestTotp::acceptedSteps()
{
    TOTPProvider totp = provider(kRfcKey);
    for (const quint64 time : {0, 30, 59, 60, 89})
        QVERIFY2(totp.verifyAt("287082", time), QByteArray::number(time));
    for (const quint64 time : {90, 120, 1000000})
        QVERIFY2(!totp.verifyAt("287082", time), QByteArray::number(time));
    QCOMPARE(totp.timeWindows(0), (QVector<quint64>{std::numeric_limits<quint64>::max(), 0, 1}));
    m_state.takeLog();
    totp.setTimeWindows(5);
    QVERIFY(totp.verifyAt("287082", 6 * 30));
    QVERIFY(!totp.verifyAt("287082", 7 * 30));
    QCOMPARE(m_state.takeLog(),
             QStringList({"[Verbose 2] Time windows count: 11", "[Verbose 2] Input code is found.",
                          "[Verbose 2] Time windows count: 11"}));
}

/// Both ways, with what varies drawn at random: secret, time, period, digits, windows.
void TestTotp::againstOathtool()
{
    constexpr quint32 kSeed = 20611;
    QRandomGenerator random(kSeed);
    for (int round = 0; round < 250; ++round) {
        QByteArray secret;
        for (int i = 8 * random.bounded(1, 14); i > 0; --i)
            secret += "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567"[random.bounded(32)];
        const quint32 digits = random.bounded(6u, 9u);
        const quint32 period = random.bounded(1u, 501u);
        const quint32 windows = random.bounded(6u);
        const quint64 step = 5 + random.generate64() % 2000000000;
        const quint64 time = step * period + random.bounded(period);
        const QStringList common{"--totp", "-b",
                                 "-d",     QString::number(digits),
                                 "-s",     QString::number(period) + "s",
                                 "-N",     "@" + QString::number(time)};
        const QByteArray draw = QByteArray("seed ") + QByteArray::number(kSeed) + ", round " +
                                QByteArray::number(round) + ": " + secret + ' ' +
                                common.join(' ').toUtf8();

        TOTPProvider totp = provider(decodeBase32(secret), digits);
        totp.setPeriod(period);
        totp.setTimeWindows(windows);
        const QString theirs = oathtool(common + QStringList(secret)).value(0);
        const auto ours = totp.generate(step);
        if (!ours) { // one value in 2147 at eight digits
            QVERIFY2(theirs.startsWith('0') && theirs.size() == static_cast<int>(digits), draw);
            continue;
        }
        QVERIFY2(oathtool(common + QStringList({"-w", "0", secret, *ours})) == QStringList("0"),
                 draw);
        const quint64 early = time - windows * period;
        const quint64 late = time + windows * period;
        QVERIFY2(totp.verifyAt(theirs, early) && totp.verifyAt(theirs, late), draw);
        QVERIFY2(!totp.verifyAt(theirs, early - period) && !totp.verifyAt(theirs, late + period),
                 draw);
    }
}

void TestTotp::againstOathtoolNow()
{
    const QStringList codes = oathtool({"--totp", kRfcKey.toHex()});
    QVERIFY2(provider(kRfcKey).verify(codes.value(0)), qPrintable(codes.join('|')));
}

void TestTotp::shortValue()
{
    // Of this step the value has five digits.
    QCOMPARE(oathtool({"--hotp", "-d", "8", "-c", "10281", kRfcKey.toHex()}),
             QStringList("00092555"));
    TOTPProvider totp = provider(kRfcKey);
    QVERIFY(!totp.generate(10281));
    QVERIFY(!totp.verifyAt("092555", 10281 * 30));
    QCOMPARE(provider(kRfcKey, 5).generate(10281), std::optional<QString>("92555"));

    // A longer one that is cut to a zero in front makes a code like any other.
    const QStringList codes = oathtool({"--hotp", "-d", "6", "-w", "99", kRfcKey.toHex()});
    QCOMPARE(codes.size(), 100);
    QVERIFY(!codes.filter(QRegularExpression("^0")).isEmpty());
    for (int counter = 0; counter < codes.size(); ++counter)
        QCOMPARE(totp.generate(static_cast<quint64>(counter)), codes.at(counter));
}

void TestTotp::refusals_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QString>("code");
    QTest::addColumn<quint32>("period");
    QTest::addColumn<quint32>("windows");
    QTest::addColumn<int>("values"); // how many were worked out
    QTest::addColumn<QStringList>("log");
    const QStringList invalid{"[Error] Code to verify is invalid."};
    const QStringList noWindows{"[Error] Can't load time windows for totp."};
    const QStringList tooMany{"[Error] Valid windows count is bigger than max."};
    const QStringList three{"[Verbose 2] Time windows count: 3"};
    const QString noKey = "[Error] Can't load base key!";
    QTest::newRow("wrong code") << kRfcKey << "123456" << 30u << 1u << 3 << three;
    QTest::newRow("no digits") << kRfcKey << "081804 " << 30u << 1u << 0 << invalid;
    QTest::newRow("letters") << kRfcKey << QString::fromUtf8("٠٨١٨٠٤") << 30u << 1u << 3 << three;
    QTest::newRow("empty code") << kRfcKey << "" << 30u << 1u << 0 << invalid;
    QTest::newRow("five characters") << kRfcKey << "81804" << 30u << 1u << 0 << invalid;
    QTest::newRow("seven characters, windows too")
        << kRfcKey << "7081804" << 30u << 6u << 0 << invalid;
    QTest::newRow("six windows, period too") << kRfcKey << "081804" << 0u << 6u << 0 << tooMany;
    QTest::newRow("all windows") << kRfcKey << "081804" << 30u << 0xffffffffu << 0 << tooMany;
    QTest::newRow("period 0") << kRfcKey << "081804" << 0u << 1u << 0 << noWindows;
    QTest::newRow("period 501") << kRfcKey << "081804" << 501u << 1u << 0 << noWindows;
    QTest::newRow("period 500") << kRfcKey << "081804" << 500u << 1u << 3 << three;
    QTest::newRow("no key") << QByteArray() << "081804" << 30u << 1u << 0
                            << three + QStringList({noKey, noKey, noKey});
}

void TestTotp::refusals()
{
    QFETCH(QByteArray, key);
    QFETCH(QString, code);
    QFETCH(quint32, period);
    QFETCH(quint32, windows);
    int values = 0;
    TOTPProvider totp = provider(key);
    totp.setPeriod(period);
    totp.setTimeWindows(windows);
    totp.setAlgorithm([&values](const QByteArray& anyKey, const QByteArray& message) {
        ++values;
        return utils::GetHMACSha1Algorithm()(anyKey, message);
    });
    QVERIFY(!totp.verifyAt(code, kNow));
    QTEST(values, "values");
    QTEST(m_state.takeLog(), "log");

    // Without a key provider nothing else is looked at.
    QVERIFY(!TOTPProvider(nullptr).verifyAt(code, kNow));
    QCOMPARE(m_state.takeLog(), QStringList("[Error] Code to verify is invalid."));
}

void TestTotp::limiter()
{
    quint64 now = kNow;
    AttemptLimiter limiter([&now] { return now; });
    const auto attempts = [&limiter](int count) {
        int allowed = 0;
        while (count-- > 0) {
            const bool could = limiter.canAttempt() && limiter.canAttempt();
            const bool did = limiter.tryAttempt();
            if (could != did)
                return -1;
            allowed += did ? 1 : 0;
        }
        return allowed;
    };
    QCOMPARE(attempts(9), 9);
    now += 1000;
    QCOMPARE(attempts(1), 1); // starts the wait
    QCOMPARE(limiter.secondsToWait(), 30);
    QCOMPARE(attempts(5), 0);
    now += 29;
    QCOMPARE(attempts(5), 0);
    QCOMPARE(limiter.secondsToWait(), 1);
    now -= 3600;
    QCOMPARE(limiter.secondsToWait(), 30);
    QCOMPARE(attempts(1), 0);
    now += 3601;
    QCOMPARE(limiter.secondsToWait(), 0);
    QCOMPARE(attempts(12), 10); // the first of them is attempt 1 again
    limiter.reset();
    QCOMPARE(limiter.secondsToWait(), 0);
    QCOMPARE(attempts(12), 10);
}

void TestTotp::limiterSettings_data()
{
    QTest::addColumn<int>("maximum");
    QTest::addColumn<qint64>("wait");
    QTest::addColumn<int>("allowed"); // of twenty at once
    const qint64 longest = std::numeric_limits<qint64>::max();
    QTest::newRow("3, for ever") << 3 << longest << 3;
    QTest::newRow("1") << 1 << qint64{60} << 1;
    QTest::newRow("0") << 0 << qint64{60} << 1;
    QTest::newRow("negative") << std::numeric_limits<int>::min() << qint64{60} << 1;
    QTest::newRow("no wait") << 3 << qint64{0} << 20;
    QTest::newRow("negative wait") << 3 << qint64{-5} << 20;
    QTest::newRow("no limit") << std::numeric_limits<int>::max() << longest << 20;
}

void TestTotp::limiterSettings()
{
    QFETCH(int, maximum);
    QFETCH(qint64, wait);
    mainKey().writeNumber("OfflineTOTPMaxAttempts", maximum);
    mainKey().writeNumber64("OfflineTOTPTimeBetweenAttempts", wait);
    AttemptLimiter limiter([] { return kNow; });
    int allowed = 0;
    for (int i = 0; i < 20; ++i)
        allowed += limiter.tryAttempt() ? 1 : 0;
    QTEST(allowed, "allowed");
    QCOMPARE(limiter.secondsToWait(), allowed == 20 ? 0 : wait);
}

QTEST_GUILESS_MAIN(TestTotp)

#include "tst_totp.moc"
