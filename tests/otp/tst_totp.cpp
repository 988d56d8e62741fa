#include "core/process_state.h"
#include "otp/attempt_limiter.h"
#include "otp/base32.h"
#include "otp/key_provider.h"
#include "otp/totp_provider.h"

#include <QProcess>
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
    QByteArray bytes = kRfcKey;
};

TOTPProvider provider(quint32 digits = 6)
{
    TOTPProvider provider(std::make_shared<KnownKey>(nullptr));
    provider.setDigits(digits);
    return provider;
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
    void verdicts();
    void limiter();

private:
    test::ProcessState m_state;
};

void TestTotp::base32()
{
    const QByteArray limit(100000, 'A');
    const QMap<QByteArray, QByteArrayList> texts{
        {"f", {"MY======", "MZ", "MY=!my"}}, // RFC 4648, section 10, and variants
        {"foobar", {"MZXW6YTBOI======", "MZXW6YTBOI"}},
        {QByteArray::fromHex("00443214c74254b635cf84653a56d7c675be77df"),
         {"ABCDEFGHIJKLMNOPQRSTUVWXYZ234567"}}, // by Python's base64
        {QByteArray(62500, '\0'), {limit, limit + '!'}},
        {"",
         {"", "M", "mzxw6===", "MZXW 6", "MZXW1", "MZXW8", "MZXW\xff", limit.left(99999) + '!'}},
    };
    for (auto bytes = texts.begin(); bytes != texts.end(); ++bytes)
        for (const QByteArray& text : *bytes)
            QCOMPARE(decodeBase32(text), bytes.key());
}

void TestTotp::rfc4226()
{
    // Appendix D: the truncated values, whose last digits are the codes.
    const QStringList values{"1284755224", "1094287082", "137359152", "1726969429", "1640338314",
                             "868254676",  "1918287922", "82162583",  "673399871",  "645520489"};
    for (int counter = 0; counter < values.size(); ++counter)
        for (int digits = 6; digits <= 11; ++digits)
            // None for a value that has fewer.
            QCOMPARE(provider(quint32(digits)).generate(quint64(counter)),
                     values[counter].size() < digits
                         ? std::nullopt
                         : std::optional(values[counter].right(digits)));
}

void TestTotp::rfc6238()
{
    const std::map<quint64, QString> codes{{59, "94287082"},         {1111111109, "07081804"},
                                           {1111111111, "14050471"}, {1234567890, "89005924"},
                                           {2000000000, "69279037"}, {20000000000, "65353130"}};
    TOTPProvider totp = provider(8);
    totp.setTimeWindows(0);
    for (const auto& [time, code] : codes) {
        totp.setTimeProvider([now = time] { return now; });
        QVERIFY2(totp.verify(code), qPrintable(code));
    }
    totp = provider();
    for (const quint64 time : {0, 89, 90})
        QCOMPARE(totp.verifyAt("287082", time), time < 90);
    totp.setPeriod(500);
    totp.setTimeWindows(2);
    QCOMPARE(totp.timeWindows(1499), QVector<quint64>({0, 1, 2, 3, 4}));
}

void TestTotp::againstOathtool()
{
    QProcess program; // at the time of now
    program.start("oathtool", {"--totp", kRfcKey.toHex()});
    QVERIFY(program.waitForFinished());
    QVERIFY(provider().verify(program.readAllStandardOutput().trimmed()));
}

void TestTotp::verdicts()
{
    using Row = std::tuple<QString, quint32, quint32, QString>;
    const QString three = "[Verbose 2] Time windows count: 3";
    for (const auto& [code, period, windows, log] :
         {Row{"081804", 30, 1, three + "|[Verbose 2] Input code is found."},
          Row{"081804", 30, 5,
              "[Verbose 2] Time windows count: 11|[Verbose 2] Input code is found."},
          Row{"123456", 30, 1, three}, Row{"81804", 30, 1, "Code to verify is invalid."},
          Row{"7081804", 30, 1, "Code to verify is invalid."},
          Row{"081804", 30, 6, "Valid windows count is bigger than max."},
          Row{"081804", 0, 1, "Can't load time windows for totp."},
          Row{"081804", 501, 1, "Can't load time windows for totp."}}) {
        TOTPProvider totp = provider();
        totp.setPeriod(period);
        totp.setTimeWindows(windows);
        QCOMPARE(totp.verifyAt(code, kNow), log.endsWith("found."));
        QCOMPARE(m_state.takeLog().join('|'), log);
    }
    QVERIFY(!provider(0).verifyAt("", kNow)); // as long as it is to be
    QVERIFY(!TOTPProvider(nullptr).verifyAt("081804", kNow));
    QCOMPARE(m_state.takeLog().filter("invalid").size(), 2);
    QVERIFY(!TOTPProvider(std::make_shared<KeyProvider>(nullptr)).verifyAt("081804", kNow));
    QCOMPARE(m_state.takeLog().last(), QString("Can't load base key!"));
}

void TestTotp::limiter()
{
    quint64 now = kNow;
    AttemptLimiter limiter([&now] { return now; });
    const auto attempts = [&limiter](int count) {
        int allowed = 0;
        for (; count > 0; --count)
            allowed += limiter.tryAttempt() ? 1 : 0;
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
    for (const int allowed : {10, 0}) {
        limiter.reset();
        QCOMPARE(attempts(allowed), allowed);
    }
    mainKey().writeNumber("OfflineTOTPMaxAttempts", 0); // counts as 1
    mainKey().writeNumber64("OfflineTOTPTimeBetweenAttempts", std::numeric_limits<qint64>::max());
    QCOMPARE(attempts(5), 1);
    QCOMPARE(limiter.secondsToWait(), std::numeric_limits<qint64>::max());
}

QTEST_GUILESS_MAIN(TestTotp)

#include "tst_totp.moc"
