#include "core/process_state.h"
#include "core/settings.h"
#include "core/user_registry_data.h"
#include "platform/accounts.h"

#include <QJsonObject>
#include <QtTest>
#include <stdexcept>

using namespace korvex;
using platform::RegistryKey;

namespace {

const QString kMain = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Korvex\\WindowsLogon";

const QString kAccount = test::knownAccount();

QString userPath()
{
    return kMain + "\\Data\\" + platform::accountSid(kAccount).value_or("no SID");
}

void signIn(const QString& user)
{
    beginSignIn(QJsonDocument(QJsonObject{{"user", user}}));
}

/// What the reads give for a setting, in the order of SettingType.
QStringList reads(Setting id)
{
    return {QString::number(readBool(id)), QString::number(readNumber(id)),
            QString::number(readNumber64(id)), QString::number(readFlag(id)), readString(id)};
}

/// `value` from the read of that type, nothing from all others.
QStringList onlyRead(int type, const QString& value)
{
    QStringList expected{"0", "0", "0", "0", ""};
    expected[type] = value;
    return expected;
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void catalogue_data();
    void catalogue();
    void unknownSetting();
    void wideNumbers();
    void failMode();
    void userStore();

private:
    test::ProcessState m_state;
};

void TestSettings::catalogue_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("fallback");
    const QString data = kMain + "\\Data";
    const auto row = [](int id, const char* name, const QString& key, SettingType type,
                        const QString& fallback) {
        QTest::newRow(name) << id << key << static_cast<int>(type) << fallback;
    };
    using enum SettingType;
    row(1, "OfflineAuth", userPath(), Boolean, "0");
    row(2, "korvexApiServer", kMain, String, "korvexApiServer");
    row(3, "SecretKey", kMain, String, "");
    row(4, "SystemToken", kMain, String, "");
    row(5, "OfflineTOTPMaxAttempts", kMain, Number, "10");
    row(6, "OfflineTOTPTimeBetweenAttempts", kMain, Number64, "30");
    row(7, "FailMode", kMain, String, "bypass");
    row(8, "ApplicationName", data, String, "");
    row(9, "CompanyName", data, String, "");
    row(10, "CompanyLogo", data, String, "../rsc/Korvex-logo.png");
    row(11, "KorvexBranding", data, String, "Protected by Korvex");
    row(12, "HelpPrompt", data, String, "Need help?");
    row(13, "HelpMsg", data, String, "Contact your organization's IT help or support desk.");
    row(14, "HelpLink1", data, String, "");
    row(15, "HelpLink2", data, String, "");
    row(16, "RecoveryCode", data, String, "");
    row(17, "IsCompanyDataReaded", kMain + "\\Cache", Flag, "0");
    row(18, "RevokeRememberDevicePolicy", kMain, Number, "2");
}

void TestSettings::catalogue()
{
    QFETCH(int, id);
    QFETCH(QString, key);
    QFETCH(int, type);
    QFETCH(QString, fallback);
    const auto setting = static_cast<Setting>(id);
    const bool isText = type == static_cast<int>(SettingType::String);
    const QString name = QTest::currentDataTag();
    const RegistryKey store(key);
    signIn(kAccount);
    QCOMPARE(settingCatalogue().size(), size_t(18));
    QCOMPARE(reads(setting), onlyRead(type, fallback));
    // First of a type that the setting does not have.
    QVERIFY(isText ? store.writeNumber(name, 1) : store.writeString(name, "1"));
    QCOMPARE(reads(setting), onlyRead(type, fallback));
    QVERIFY(isText ? store.writeString(name, "1") : store.writeNumber(name, 1));
    QCOMPARE(reads(setting), onlyRead(type, "1"));
}

void TestSettings::unknownSetting()
{
    for (const int id : {0, 19, -1}) {
        const auto setting = static_cast<Setting>(id);
        QVERIFY_EXCEPTION_THROWN(readString(setting), std::out_of_range);
        QVERIFY_EXCEPTION_THROWN(readBool(setting), std::out_of_range);
        QVERIFY_EXCEPTION_THROWN(readNumber64(setting), std::out_of_range);
    }
}

void TestSettings::wideNumbers()
{
    const auto read = [] {
        return std::pair(readNumber64(Setting::OfflineTotpTimeBetweenAttempts),
                         readFlag(Setting::IsCompanyDataReaded));
    };
    const QString pause = "OfflineTOTPTimeBetweenAttempts";
    const QString flag = "IsCompanyDataReaded";
    for (const qint64 wide : {qint64(45), qint64(0x123456789abcdef), qint64(-1)}) {
        QVERIFY(mainKey().writeNumber64(pause, wide) && cacheKey().writeNumber64(flag, wide));
        QCOMPARE(read(), std::pair(wide, wide));
    }
    QVERIFY(mainKey().writeNumber(pause, -1) && cacheKey().writeNumber(flag, -1));
    QCOMPARE(read(), std::pair(qint64(0xffffffff), qint64(0xffffffff)));
}

void TestSettings::failMode()
{
    QVERIFY(failModeIsBypass()); // absent
    for (const char* const other : {"deny", "Bypass", "BYPASS", "bypass ", "", "1"}) {
        mainKey().writeString("FailMode", other);
        QVERIFY2(!failModeIsBypass(), other);
    }
    mainKey().writeString("failmode", "bypass"); // names of values differ in case
    QVERIFY(failModeIsBypass());
    mainKey().writeNumber("FailMode", 0); // no text, so as absent
    QVERIFY(failModeIsBypass());
}

void TestSettings::userStore()
{
    RegistryKey(userPath()).writeBool("OfflineAuth", true);
    dataKey().writeBool("OfflineAuth", true); // of the data key itself, so nobody's
    signIn(kAccount);
    QVERIFY(readBool(Setting::OfflineAuth));
    const auto key = userRegistryData()->key();
    QCOMPARE(key ? key->path() : "none", userPath());
    for (const QString user : {"NOWHERE\\jdoe", ""}) {
        m_state.takeLog();
        signIn(user);
        for (int time = 0; time < 2; ++time) // resolved once
            QVERIFY(!readBool(Setting::OfflineAuth));
        QVERIFY(!userRegistryData()->key());
        const QString account = (user.isEmpty() ? "Administrator" : user) + '\'';
        const QString warning = "[Verbose 1] [Warning] ";
        QCOMPARE(
            m_state.takeLog(),
            (QStringList{warning + "Could not verify SID for user '" + account,
                         warning + "UserRegistryData: Local cache won't be used for '" + account}));
    }
    signIn(kAccount);
    QVERIFY(readBool(Setting::OfflineAuth));
}

QTEST_GUILESS_MAIN(TestSettings)

#include "tst_settings.moc"
