#include "core/process_state.h"
#include "otp/attempt_limiter.h"
#include "otp/base32.h"
#include "otp/key_provider.h"
#include "otp/totp_provider.h"

#include <QtTest>

using namespace korvex;
using namespace korvex::otp;

namespace {

const quint64 kNow = 1111111109;

struct KnownKey : KeyProvider
{
    using KeyProvider::KeyProvider;
    QByteArray key() const override { return "12345678901234567890"; } // of RFC 4226 and RFC 6238
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
    void publishedCodes();
    void verdicts();
    void limiter();

private:
    test::ProcessState m_state;
};

void TestTotp::base32()
{
    // RFC 4648, section 10, variants of it, and the whole alphabet by Python's base64.
    for (const char* const text : {"MZXW6YTBOI======", "MZXW6YTBOI", "MZXW6YTBOJ=!my"})
        QCOMPARE(decodeBase32(text), QByteArray("foobar"));
    QCOMPARE(decodeBase32("ABCDEFGHIJKLMNOPQRSTUVWXYZ234567"),
             QByteArray::fromHex("00443214c74254b635cf84653a56d7c675be77df"));
    for (const char* const text : {"", "M", "mzxw6===", "MZXW 6", "MZXW1", "MZXW8", "MZXW\xff"})
        QCOMPARE(decodeBase32(text), QByteArray());
    const QByteArray limit(100000, 'A');
    QCOMPARE(decodeBase32(limit + '!'), QByteArray(62500, '\0'));
    QCOMPARE(decodeBase32(limit.left(99999) + '!'), QByteArray());
}

void TestTotp::publishedCodes()
{
    // RFC 4226, appendix D: the truncated values, whose last digits are the codes.
    const QStringList values{"1284755224", "1094287082", "137359152", "1726969429", "1640338314",
                             "868254676",  "1918287922", "82162583",  "673399871",  "645520489"};
    for (int counter = 0; counter < values.size(); ++counter)
        for (int digits = 6; digits <= 11; ++digits) {
            const auto code = provider(quint32(digits)).generate(quint64(counter));
            QCOMPARE(code.value_or(""),
                     values[counter].size() < digits ? "" : values[counter].right(digits));
        }
    // RFC 6238, appendix B.
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
    QCOMPARE(totp.timeWindows(1499), QVector<quint64>({1, 2, 3}));
}

void TestTotp::verdicts()
{
    for (const auto& [code, period, windows, message] :
         {std::tuple("081804", 30U, 5U, "Input code is found."),
          {"81804", 30, 1, "Code to verify is invalid."},
          {"081804", 30, 6, "Valid windows count is bigger than max."},
          {"081804", 0, 1, "Can't load time windows for totp."},
          {"081804", 501, 1, "Can't load time windows for totp."}}) {
        TOTPProvider totp = provider();
        totp.setPeriod(period);
        totp.setTimeWindows(windows);
        QCOMPARE(totp.verifyAt(code, kNow), QString(message).endsWith("found."));
        QVERIFY2(m_state.takeLog().last().endsWith(message), message);
    }
    QVERIFY(!provider(0).verifyAt("", kNow)); // as long as it is to be
    QVERIFY(!TOTPProvider(nullptr).generate(0));
    QCOMPARE(m_state.takeLog().last(), QString("Can't load base key!"));
}

void TestTotp::limiter()
{
    quint64 now = kNow;
    AttemptLimiter limiter([&now] { return now; });
    const auto attempts = [&limiter](int count) {
        QVector<bool> allowed(count);
        for (bool& each : allowed)
            each = limiter.tryAttempt();
        return allowed.count(true);
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
    QCOMPARE(attempts(10), 10);
    limiter.reset();
    mainKey().writeNumber("OfflineTOTPMaxAttempts", 0); // counts as 1
    mainKey().writeNumber64("OfflineTOTPTimeBetweenAttempts", std::numeric_limits<qint64>::max());
    QCOMPARE(attempts(5), 1);
    QCOMPARE(limiter.secondsToWait(), std::numeric_limits<qint64>::max());
}

QTEST_GUILESS_MAIN(TestTotp)
#include "tst_totp.moc"
