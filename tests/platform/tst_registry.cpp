#include "platform/copies.h"
#include "platform/fault_recorder.h"
#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QUuid>
#include <QtTest>
#include <limits>
#include <thread>

using korvex::platform::RegistryKey;
using korvex::test::FaultRecorder;

namespace {

constexpr int kWriters = 16;
constexpr int kValuesEach = 50;

QString scratchPath()
{
    static const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return QStringLiteral("HKEY_CURRENT_USER\\Software\\Korvex\\Test\\") + unique +
           QLatin1Char('\\') + QString::fromLatin1(QTest::currentTestFunction());
}

QString valueName(int writer, int index)
{
    return QStringLiteral("value %1 of %2").arg(index).arg(writer);
}

int writeAsCopy(int number, const QString& path)
{
    korvex::test::awaitRelease();
    const RegistryKey common(path);
    const RegistryKey own(path + QStringLiteral("\\writer %1").arg(number));
    bool written = own.create();
    for (int index = 0; index < kValuesEach; ++index) {
        written &= common.writeNumber(valueName(number, index), number * kValuesEach + index);
        written &= own.writeString(QStringLiteral("latest"), QString::number(index));
    }
    return written ? 0 : 1;
}

} // namespace

class TestRegistry : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void missingReadsAsNothing();
    void strings_data();
    void strings();
    void numbers_data();
    void numbers();
    void typesAreKeptApart_data();
    void typesAreKeptApart();
    void writingReplacesTheWholeValue();
    void caseOfNames_data();
    void caseOfNames();
    void subKeys();
    void tooLongString();
    void otherRoots();
    void threads();
    void processesLoseNothing();

private:
    std::optional<korvex::test::TemporaryRoot> m_root;
};

void TestRegistry::missingReadsAsNothing()
{
    FaultRecorder faults;
    const RegistryKey key(scratchPath());
    const QString name = QStringLiteral("absent");
    for (const bool keyExists : {false, true}) {
        QVERIFY(!key.readString(name));
        QVERIFY(!key.readNumber(name));
        QVERIFY(!key.readNumber64(name));
        QVERIFY(!key.readBool(name));
        QCOMPARE(key.subKeys(), QStringList());
        if (!keyExists)
            QVERIFY(key.create());
    }
    QCOMPARE(faults.take(), QStringList());
}

void TestRegistry::strings_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QStringLiteral("");
    QTest::newRow("plain") << QStringLiteral("bypass");
    QTest::newRow("quotes and lines") << QStringLiteral("it's \"so\"\r\n\\ done\t");
    QTest::newRow("beyond ASCII") << QString::fromUtf8("Zażółć gęślą jaźń, Größe, 日本, 🔑");
    QTest::newRow("leading byte order mark") << QString(QChar(0xfeff)) + QStringLiteral("x");
    QTest::newRow("half a surrogate pair") << QString(QChar(0xd83d)) + QStringLiteral("x");
    QTest::newRow("longest") << QString(512 * 1024 - 1, QLatin1Char('a'));
}

void TestRegistry::strings()
{
    QFETCH(QString, text);
    const RegistryKey key(scratchPath());
    QVERIFY(key.writeString(QStringLiteral("text"), text));
    QCOMPARE(key.readString(QStringLiteral("text")), std::optional(text));
    // The default value of a key has an empty name.
    QVERIFY(key.writeString(QString(), text));
    QCOMPARE(key.readString(QString()), std::optional(text));
}

void TestRegistry::numbers_data()
{
    QTest::addColumn<qint64>("number");
    for (const qint64 number :
         {qint64{0}, qint64{1}, qint64{-1}, qint64{std::numeric_limits<qint32>::max()},
          qint64{std::numeric_limits<qint32>::min()}, std::numeric_limits<qint64>::max(),
          std::numeric_limits<qint64>::min()})
        QTest::addRow("%lld", static_cast<long long>(number)) << number;
}

void TestRegistry::numbers()
{
    QFETCH(qint64, number);
    const RegistryKey key(scratchPath());
    QVERIFY(key.writeNumber64(QStringLiteral("wide"), number));
    QCOMPARE(key.readNumber64(QStringLiteral("wide")), std::optional(number));
    const auto narrow = static_cast<qint32>(number);
    QVERIFY(key.writeNumber(QStringLiteral("narrow"), narrow));
    QCOMPARE(key.readNumber(QStringLiteral("narrow")), std::optional(narrow));
    QCOMPARE(key.readBool(QStringLiteral("narrow")), std::optional(narrow != 0));
}

void TestRegistry::typesAreKeptApart_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("asString");
    QTest::addColumn<bool>("asNumber");
    QTest::addColumn<bool>("asNumber64");
    QTest::newRow("REG_SZ") << QStringLiteral("text") << true << false << false;
    QTest::newRow("REG_DWORD") << QStringLiteral("number") << false << true << true;
    QTest::newRow("boolean") << QStringLiteral("flag") << false << true << true;
    QTest::newRow("REG_QWORD") << QStringLiteral("wide") << false << false << true;
}

void TestRegistry::typesAreKeptApart()
{
    QFETCH(QString, name);
    const RegistryKey key(scratchPath());
    QVERIFY(key.writeString(QStringLiteral("text"), QStringLiteral("1")));
    QVERIFY(key.writeNumber(QStringLiteral("number"), -2));
    QVERIFY(key.writeBool(QStringLiteral("flag"), true));
    QVERIFY(key.writeNumber64(QStringLiteral("wide"), 7));

    QTEST(key.readString(name).has_value(), "asString");
    QTEST(key.readNumber(name).has_value(), "asNumber");
    QTEST(key.readBool(name).has_value(), "asNumber");
    QTEST(key.readNumber64(name).has_value(), "asNumber64");
    // Widened without its sign.
    QCOMPARE(key.readNumber64(QStringLiteral("number")), std::optional(qint64{0xfffffffe}));
}

void TestRegistry::writingReplacesTheWholeValue()
{
    const RegistryKey key(scratchPath());
    const QString name = QStringLiteral("value");
    QVERIFY(key.writeString(name, QStringLiteral("a longer text")));
    QVERIFY(key.writeString(name, QStringLiteral("short")));
    QCOMPARE(key.readString(name), std::optional(QStringLiteral("short")));
    QVERIFY(key.writeNumber(name, 5));
    QVERIFY(!key.readString(name));
    QCOMPARE(key.readNumber(name), std::optional(5));
}

void TestRegistry::caseOfNames_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<QString>("read");
    QTest::addColumn<bool>("same");
    const auto row = [](const char* name, const char* written, const char* read, bool same = true) {
        QTest::newRow(name) << QString::fromUtf8(written) << QString::fromUtf8(read) << same;
    };
    row("Latin", "SystemToken", "systemtoken");
    row("Polish", "zażółć gęślą jaźń", "ZAŻÓŁĆ GĘŚLĄ JAŹŃ");
    row("German umlaut", "Größe", "GRÖßE");
    row("Greek", "ΛΟΓΟΙ", "λογοι");
    row("Cyrillic", "Ключ", "кЛЮЧ");
    row("Armenian", "Բանալի", "ԲԱՆԱԼԻ");
    row("sharp s is not ss", "Straße", "Strasse", false);
    row("accents count", "resume", "résumé", false);
}

void TestRegistry::caseOfNames()
{
    QFETCH(QString, written);
    QFETCH(QString, read);
    QFETCH(bool, same);
    const QString path =
        scratchPath() + QLatin1Char('\\') + QString::fromLatin1(QTest::currentDataTag());
    const RegistryKey key(path + QLatin1Char('\\') + written);
    QVERIFY(key.writeNumber(written, 1));

    QCOMPARE(key.readNumber(read).has_value(), same);
    const RegistryKey other(path + QLatin1Char('\\') + read);
    QCOMPARE(other.readNumber(written).has_value(), same);
    QVERIFY(other.writeNumber(read, 2));
    QCOMPARE(key.readNumber(written), std::optional(same ? 2 : 1));
    // A second spelling makes no second key, and the first stays.
    QCOMPARE(RegistryKey(path).subKeys().size(), same ? 1 : 2);
    QVERIFY(RegistryKey(path).subKeys().contains(written));
}

void TestRegistry::subKeys()
{
    const QString path = scratchPath();
    QVERIFY(RegistryKey(path + QStringLiteral("\\b\\deep\\deeper")).create());
    QVERIFY(RegistryKey(path + QStringLiteral("\\a\\")).create());
    QVERIFY(RegistryKey(path + QStringLiteral("\\a")).create());
    QVERIFY(RegistryKey(path + QStringLiteral("\\C, and more")).create());
    QVERIFY(RegistryKey(path + QStringLiteral(" beside it\\x")).create());

    const QStringList expected{QStringLiteral("a"), QStringLiteral("b"),
                               QStringLiteral("C, and more")};
    QCOMPARE(RegistryKey(path).subKeys(), expected);
    QCOMPARE(RegistryKey(path + QLatin1Char('\\')).subKeys(), expected);
    QCOMPARE(RegistryKey(path + QStringLiteral("\\b")).subKeys(),
             QStringList(QStringLiteral("deep")));
}

void TestRegistry::tooLongString()
{
    FaultRecorder faults;
    const RegistryKey key(scratchPath());
    QVERIFY(key.writeString(QStringLiteral("text"), QStringLiteral("kept")));
    QVERIFY(!key.writeString(QStringLiteral("text"), QString(512 * 1024 + 1, QLatin1Char('a'))));
    QCOMPARE(faults.take().size(), 1);
    QCOMPARE(key.readString(QStringLiteral("text")), std::optional(QStringLiteral("kept")));
}

void TestRegistry::otherRoots()
{
    FaultRecorder faults;
    for (const char* const path :
         {"HKEY_CLASSES_ROOT\\x", "SOFTWARE\\Korvex", "", "\\", "HKEY_LOCAL_MACHINE_\\x"}) {
        const RegistryKey key(QString::fromLatin1(path));
        QVERIFY(!key.writeNumber(QStringLiteral("x"), 1));
        QVERIFY(!key.create());
        QVERIFY(!key.readNumber(QStringLiteral("x")));
        QCOMPARE(key.subKeys(), QStringList());
    }
    QVERIFY(!faults.take().isEmpty());
}

void TestRegistry::threads()
{
    const QString path = scratchPath();
    std::atomic<int> wrong = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread) {
            threads.emplace_back([&path, &wrong, thread] {
                const RegistryKey key(path);
                const QString name = QStringLiteral("thread %1").arg(thread);
                for (int number = 0; number < 100; ++number) {
                    wrong += key.writeNumber(name, number) ? 0 : 1;
                    wrong += key.readNumber(name) == number ? 0 : 1;
                }
            });
        }
    }
    QCOMPARE(wrong.load(), 0);
}

void TestRegistry::processesLoseNothing()
{
    // All writers find the registry missing at the same moment.
    const QString path = scratchPath();
    for (const QByteArray& outcome : korvex::test::runCopies(kWriters, {path}))
        QCOMPARE(outcome, QByteArray());

    const RegistryKey key(path);
    QCOMPARE(key.subKeys().size(), kWriters);
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int index = 0; index < kValuesEach; ++index)
            QCOMPARE(key.readNumber(valueName(writer, index)),
                     std::optional(writer * kValuesEach + index));
        QCOMPARE(RegistryKey(path + QStringLiteral("\\writer %1").arg(writer))
                     .readString(QStringLiteral("latest")),
                 std::optional(QString::number(kValuesEach - 1)));
    }
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--copy"))
        return writeAsCopy(arguments.value(2).toInt(), arguments.value(3));
    TestRegistry test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_registry.moc"
