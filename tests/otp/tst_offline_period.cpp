#include "core/process_state.h"
#include "otp/offline_period.h"

#include <QtTest>
#include <limits>

using namespace korvex;
using namespace korvex::otp;

namespace {

constexpr qint64 kDay = 24 * 60 * 60;
constexpr qint64 kStart = 1'800'000'000; // the last sign-in that the service accepted

} // namespace

class TestOfflinePeriod : public QObject
{
    Q_OBJECT

private slots:
    void daysLeft_data();
    void daysLeft();
    void clockSetBack();
    void nothingKnown();

private:
    test::ProcessState m_state;
};

void TestOfflinePeriod::daysLeft_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<qint64>("passed");
    QTest::addColumn<int>("left"); // -1: no limit
    QTest::newRow("no limit") << 0 << 1000 * kDay << -1;
    QTest::newRow("negative") << -1 << 1000 * kDay << -1;
    QTest::newRow("just now") << 30 << qint64{0} << 30;
    QTest::newRow("less than a day") << 30 << kDay - 1 << 30;
    QTest::newRow("a day") << 30 << kDay << 29;
    QTest::newRow("last second") << 30 << 30 * kDay - 1 << 1;
    QTest::newRow("over") << 30 << 30 * kDay << 0;
    QTest::newRow("long over") << 1 << std::numeric_limits<qint64>::max() - kStart << 0;
}

void TestOfflinePeriod::daysLeft()
{
    QFETCH(int, limit);
    QFETCH(qint64, passed);
    m_state.startAnew();
    beginSignIn({.user = test::knownAccount()});
    mainKey().writeNumber("OfflineMaxDays", limit);
    noteOnlineSignIn(*userRegistryData(), kStart);
    QTEST(offlineDaysLeft(*userRegistryData(), kStart + passed).value_or(-1), "left");
}

void TestOfflinePeriod::clockSetBack()
{
    m_state.startAnew();
    beginSignIn({.user = test::knownAccount()});
    mainKey().writeNumber("OfflineMaxDays", 30);
    noteOnlineSignIn(*userRegistryData(), kStart);
    QCOMPARE(offlineDaysLeft(*userRegistryData(), kStart - 1).value_or(-1), 0);
    QCOMPARE(offlineDaysLeft(*userRegistryData(), kStart + 2 * kDay).value_or(-1), 28);
    noteTimeSeen(*userRegistryData(), kStart + 2 * kDay);
    QCOMPARE(offlineDaysLeft(*userRegistryData(), kStart + 2 * kDay - 1).value_or(-1), 0);
    noteOnlineSignIn(*userRegistryData(), kStart + kDay);
    QCOMPARE(offlineDaysLeft(*userRegistryData(), kStart + kDay).value_or(-1), 30);
}

void TestOfflinePeriod::nothingKnown()
{
    for (const QString& user : {test::knownAccount(), QString("NOWHERE\\jdoe")}) {
        m_state.startAnew();
        beginSignIn({.user = user});
        mainKey().writeNumber("OfflineMaxDays", 30);
        if (user != test::knownAccount())
            noteOnlineSignIn(*userRegistryData(), kStart);
        QCOMPARE(offlineDaysLeft(*userRegistryData(), kStart).value_or(-1), 0);
    }
}

QTEST_GUILESS_MAIN(TestOfflinePeriod)
#include "tst_offline_period.moc"
