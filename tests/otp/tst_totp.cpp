#include "core/process_state.h"
#include "otp/attempt_limiter.h"
#include "otp/base32.h"
#include "otp/key_provider.h"
#include "otp/totp_provider.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QtTest>
#include <limits>

using namespace korvex;
using namespace korvex::otp;

namespace {

const QByteArray kRfcKey = "12345678901234567890"; // of RFC 4226 and RFC 6238
const quint64 kNow = 1111111109;

struct KnownKey : KeyProvider
{
    using KeyProvider::KeyProvider;
    QByteArray key() const override { return bytes; }
    QByteArray bytes;
};

TOTPProvider provider(const QByteArray& key, quint32 digits = 6)
{
    const auto known = std::make_shared<KnownKey>(nullptr);
    known->bytes = key;
    TOTPProvider provider(known);
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
    void rfc6238();
    void againstOathtool();
    void shortValue();
    void refusals();
    void limiter();

private:
    test::ProcessState m_state;
};

void TestTotp::base32()
{
    const QByteArray limit(100000, 'A');
    const QMap<QByteArray, QByteArrayList> texts{
        {"f", {"MY======", "MY", "MZ", "MY=!my"}}, // RFC 4648, section 10, and variants
        {"foo", {"MZXW6===", "MZXW6"}},
        {"foob", {"MZXW6YQ="}},
        {"foobar", {"MZXW6YTBOI======", "MZXW6YTBOI"}},
        {QByteArray(62500, '\0'), {limit, limit + '!'}},
        {"",
         {"", "M", "=MY", "mzxw6===", "MZXW6YTb", "MZXW 6", "MZXW6\n", "MZXW1", "MZXW0", "MZXW8",
          "MZXW\xff", QByteArray("MY\0MY", 5), limit.left(99999) + '!'}},
    };
    for (auto bytes = texts.begin(); bytes != texts.end(); ++bytes)
        for (const QByteArray& text : *bytes)
            QCOMPARE(decodeBase32(text), bytes.key());
}

void TestTotp::rfc4226()
{
    // Appendix D: the truncated values, whose last six digits are the codes
    const QStringList values{"1284755224", "1094287082", "137359152", "1726969429", "1640338314",
                             "868254676",  "1918287922", "82162583",  "673399871",  "645520489"};
    quint64 counter = 0;
    for (const QString& value : values) {
        for (int digits = 6; digits <= 13; ++digits)
            QCOMPARE(provider(kRfcKey, static_cast<quint32>(digits)).generate(counter),
                     value.size() < digits ? std::nullopt : std::optional(value.right(digits)));
        ++counter;
    }
}

void TestTotp::rfc6238()
{
    const std::map<quint64, QString> codes{{59, "94287082"},         {1111111109, "07081804"},
                                           {1111111111, "14050471"}, {1234567890, "89005924"},
                                           {2000000000, "69279037"}, {20000000000, "65353130"}};
    quint64 now = 0;
    TOTPProvider totp = provider(kRfcKey, 8);
    totp.setTimeWindows(0);
    totp.setTimeProvider([&now] { return now; });
    for (const auto& [time, code] : codes) {
        now = time;
        QVERIFY2(totp.verify(code), qPrintable(code));
    }
    totp = provider(kRfcKey);
    for (const quint64 time : {0, 30, 59, 60, 89, 90, 120})
        QCOMPARE(totp.verifyAt("287082", time), time < 90);
    m_state.takeLog();
    totp.setTimeWindows(5);
    QVERIFY(totp.verifyAt("287082", 6 * 30));
    QCOMPARE(m_state.takeLog().value(0), QString("[Verbose 2] Time windows count: 11"));
}

/// Both ways, with what varies drawn at random: secret, time, period, digits, windows.
void TestTotp::againstOathtool()
{
    QVERIFY(provider(kRfcKey).verify(oathtool({"--totp", kRfcKey.toHex()}).value(0))); // now

    constexpr quint32 kSeed = 20611;
    QRandomGenerator random(kSeed);
    for (int rounds = 250; rounds > 0; --rounds) {
        QByteArray secret;
        for (int i = 8 * random.bounded(1, 14); i > 0; --i)
            secret += "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567"[random.bounded(32)];
        const quint32 digits = random.bounded(6u, 9u);
        const quint32 period = random.bounded(1u, 501u);
        const quint32 windows = random.bounded(6u);
        const quint64 step = 5 + random.generate64() % 2000000000;
        const quint64 time = step * period + random.bounded(period);
        const QString options = QString::asprintf("--totp -b -d %u -s %us -N @%llu -w 0 %s", digits,
                                                  period, time, secret.constData());
        const QByteArray draw = QString("seed %1: ").arg(kSeed).toUtf8() + options.toUtf8();

        TOTPProvider totp = provider(decodeBase32(secret), digits);
        totp.setPeriod(period);
        totp.setTimeWindows(windows);
        const QString theirs = oathtool(options.split(' ')).value(0);
        const auto ours = totp.generate(step);
        if (!ours) { // one value in 215 at eight digits
            QVERIFY2(theirs.startsWith('0'), draw);
            continue;
        }
        QVERIFY2(oathtool(options.split(' ') + QStringList(*ours)) == QStringList("0"), draw);
        const quint64 early = time - windows * period;
        const quint64 late = time + windows * period;
        for (const quint64 moment : {early - period, early, late, late + period})
            QVERIFY2(totp.verifyAt(theirs, moment) == (moment >= early && moment <= late), draw);
    }
}

void TestTotp::shortValue()
{
    // Of this step the value has five digits.
    QCOMPARE(oathtool({"--hotp", "-d", "8", "-c", "10281", kRfcKey.toHex()}),
             QStringList("00092555"));
    const TOTPProvider totp = provider(kRfcKey);
    QVERIFY(!totp.generate(10281) && !totp.verifyAt("092555", 10281 * 30));

    // A longer one that is cut to a zero in front makes a code like any other.
    const QStringList codes = oathtool({"--hotp", "-d", "6", "-w", "99", kRfcKey.toHex()});
    QVERIFY(!codes.filter(QRegularExpression("^0")).isEmpty());
    for (int counter = 0; counter < codes.size(); ++counter)
        QCOMPARE(totp.generate(static_cast<quint64>(counter)), codes.at(counter));
}

void TestTotp::refusals()
{
    const QString invalid = "Code to verify is invalid.";
    const QString noWindows = "Can't load time windows for totp.";
    const QString tooMany = "Valid windows count is bigger than max.";
    const QString three = "[Verbose 2] Time windows count: 3";
    const QString noKey = "Can't load base key!";
    struct Row
    {
        const char* code;
        quint32 period;
        quint32 windows;
        QStringList log;
        QByteArray key = kRfcKey;
    };
    for (const Row& row : {Row{"123456", 30, 1, {three}}, Row{"123456", 500, 1, {three}},
                           Row{"", 30, 1, {invalid}}, Row{"81804", 30, 1, {invalid}},
                           Row{"7081804", 30, 6, {invalid}}, Row{"081804", 0, 6, {tooMany}},
                           Row{"081804", 0, 1, {noWindows}}, Row{"081804", 501, 1, {noWindows}},
                           Row{"081804", 30, 1, {three, noKey, noKey, noKey}, ""}}) {
        int values = 0;
        TOTPProvider totp = provider(row.key);
        totp.setPeriod(row.period);
        totp.setTimeWindows(row.windows);
        totp.setAlgorithm([&values](const QByteArray&, const QByteArray&) { return ++values; });
        QVERIFY2(!totp.verifyAt(row.code, kNow), row.code);
        QCOMPARE(m_state.takeLog(), row.log);
        QCOMPARE(values, row.log == QStringList(three) ? 3 : 0);
    }
    // Without a key provider nothing else is looked at.
    QVERIFY(!TOTPProvider(nullptr).verifyAt("081804", kNow));
    QCOMPARE(m_state.takeLog(), QStringList(invalid));
}

void TestTotp::limiter()
{
    quint64 now = kNow;
    AttemptLimiter limiter([&now] { return now; });
    const auto attempts = [&limiter](int count) {
        int allowed = 0;
        while (count-- > 0) {
            const bool could = limiter.canAttempt() && limiter.canAttempt();
            if (could != limiter.tryAttempt())
                return -1;
            allowed += could ? 1 : 0;
        }
        return allowed;
    };
    QCOMPARE(attempts(9), 9);
    now += 1000;
    QCOMPARE(attempts(1), 1); // starts the wait
    now += 29;
    QCOMPARE(attempts(5), 0);
    now -= 3600;
    QCOMPARE(limiter.secondsToWait(), 30);
    now += 3601;
    QCOMPARE(attempts(12), 10); // the first of them is attempt 1 again
    limiter.reset();
    mainKey().writeNumber("OfflineTOTPMaxAttempts", 0); // counts as 1
    mainKey().writeNumber64("OfflineTOTPTimeBetweenAttempts", std::numeric_limits<qint64>::max());
    QCOMPARE(attempts(5), 1);
    QCOMPARE(limiter.secondsToWait(), std::numeric_limits<qint64>::max());
}

QTEST_GUILESS_MAIN(TestTotp)

#include "tst_totp.moc"
