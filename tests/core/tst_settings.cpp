#include "core/process_state.h"
#include "platform/accounts.h"

#include <QtTest>

using namespace korvex;
using platform::RegistryKey;

namespace {

QString userPath()
{
    return dataKey().path() + '\\' + platform::accountSid(test::knownAccount()).value_or("no SID");
}

/// What the reads give for a setting, in the order of SettingType.
QStringList reads(Setting id)
{
    return {QString::number(readBool(id)), QString::number(readNumber(id)),
            QString::number(readNumber64(id)), QString::number(readFlag(id)), readString(id)};
}

/// `value` from the read of that type, nothing from all others.
QStringList onlyRead(SettingType type, const QString& value)
{
    QStringList expected{"0", "0", "0", "0", ""};
    expected[static_cast<int>(type)] = value;
    return expected;
}

/// The row of the README's table that an administrator's setting has to have.
QString readmeRow(const SettingDefinition& setting)
{
    const bool isText = setting.type == SettingType::String;
    const QString value = setting.defaultValue.toString();
    const QString fallback = !isText                 ? QString::number(setting.defaultValue.toInt())
                             : value.isEmpty()       ? "none"
                             : value == setting.name ? "a build setting"
                                                     : '`' + value + '`';
    const QString type = isText                                  ? "REG_SZ"
                         : setting.type == SettingType::Boolean  ? "REG_DWORD (0 or 1)"
                         : setting.type == SettingType::Number64 ? "REG_QWORD"
                                                                 : "REG_DWORD";
    return "| `" + setting.name + "` | " + type + " | " + fallback + " | " + setting.meaning + " |";
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }

    void everySetting();
    void readme();
    void failMode();
    void userStore();

private:
    test::ProcessState m_state;
};

void TestSettings::everySetting()
{
    beginSignIn({.user = test::knownAccount()});
    const QMap<SettingStore, QString> paths = {{SettingStore::User, userPath()},
                                               {SettingStore::Main, mainKey().path()},
                                               {SettingStore::Data, mainKey().path() + "\\Data"},
                                               {SettingStore::Cache, mainKey().path() + "\\Cache"}};
    for (const auto& [id, definition] : settingCatalogue()) {
        const RegistryKey key(paths[definition.store]);
        const bool isText = definition.type == SettingType::String;
        const QString fallback = isText ? definition.defaultValue.toString()
                                        : QString::number(definition.defaultValue.toLongLong());
        QCOMPARE(reads(id), onlyRead(definition.type, fallback));
        const bool isWide =
            definition.type == SettingType::Number64 || definition.type == SettingType::Flag;
        QVERIFY(isText   ? key.writeString(definition.name, "1")
                : isWide ? key.writeNumber64(definition.name, 1LL << 62)
                         : key.writeNumber(definition.name, 1));
        QCOMPARE(reads(id), onlyRead(definition.type, isWide ? "4611686018427387904" : "1"));
    }
}

void TestSettings::readme()
{
    const QString text = QString::fromUtf8(test::contentOf(KORVEX_README));
    QStringList found = text.split('\n').filter(QRegularExpression("^\\| `.*REG_"));
    QStringList expected;
    for (const auto& [id, definition] : settingCatalogue())
        if (definition.owner == SettingOwner::Administrator)
            expected << readmeRow(definition);
    found.sort();
    expected.sort();
    QCOMPARE(found, expected);
}

void TestSettings::failMode()
{
    QVERIFY(failModeIsBypass()); // absent
    for (const char* const other : {"deny", "Bypass", "bypass ", ""}) {
        mainKey().writeString("FailMode", other);
        QVERIFY2(!failModeIsBypass(), other);
    }
}

void TestSettings::userStore()
{
    RegistryKey(userPath()).writeNumber("OfflineAuth", 1);
    dataKey().writeNumber("OfflineAuth", 1); // of the data key itself, so nobody's
    for (const QString user : {"NOWHERE\\jdoe", ""}) {
        beginSignIn({.user = user});
        QVERIFY(!readBool(Setting::OfflineAuth) && !userRegistryData()->key());
        const QStringList lines = m_state.takeLog().filter(user.isEmpty() ? "Administrator" : user);
        QCOMPARE(lines.size(), 2); // looked up once
    }
    beginSignIn({.user = test::knownAccount()});
    QVERIFY(readBool(Setting::OfflineAuth));
}

QTEST_GUILESS_MAIN(TestSettings)

#include "tst_settings.moc"
