#include "platform/copies.h"
#include "platform/fault_recorder.h"
#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QUuid>
#include <QtTest>
#include <limits>

using korvex::platform::RegistryKey;
using korvex::test::FaultRecorder;

namespace {

constexpr int kWriters = 16;
constexpr int kValuesEach = 50;

QString scratchPath()
{
    static const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return QStringLiteral("HKEY_CURRENT_USER\\Software\\Korvex\\Test\\") + unique + '\\' +
           QTest::currentTestFunction();
}

QString valueName(int writer, int index)
{
    return QStringLiteral("value %1 of %2").arg(index).arg(writer);
}

int writeAsCopy(int number, const QString& path)
{
    korvex::test::awaitRelease();
    bool written = true;
    for (int index = 0; index < kValuesEach; ++index)
        written &= RegistryKey(path).writeNumber(valueName(number, index), index);
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
    void strings();
    void numbers();
    void caseOfNames_data();
    void caseOfNames();
    void subKeys();
    void refused();
    void processesLoseNothing();

private:
    std::optional<korvex::test::TemporaryRoot> m_root;
};

void TestRegistry::missingReadsAsNothing()
{
    FaultRecorder faults;
    const RegistryKey key(scratchPath());
    for (const bool keyExists : {false, true}) {
        QVERIFY(!key.readString("absent") && !key.readNumber64("absent"));
        QVERIFY(!key.readNumber("absent") && !key.readBool("absent"));
        QCOMPARE(key.subKeys(), QStringList());
        QVERIFY(keyExists || key.create());
    }
    QCOMPARE(faults.take(), QStringList());
}

void TestRegistry::strings()
{
    const RegistryKey key(scratchPath());
    const QStringList texts{"a longer text", "", "it's \"so\"\r\n\\ done\t",
                            QStringLiteral("\ufeffZażółć gęślą jaźń, Größe, 日本, 🔑"),
                            QString(512 * 1024 - 1, 'a')};
    for (const QString& text : texts) {
        // The default value of a key has an empty name.
        for (const char* const name : {"text", ""}) {
            QVERIFY(key.writeString(name, text));
            QCOMPARE(key.readString(name), std::optional(text));
        }
    }
}

void TestRegistry::numbers()
{
    const RegistryKey key(scratchPath());
    using Wide = std::numeric_limits<qint64>;
    for (const qint64 number : {qint64{0}, qint64{1}, qint64{-1}, Wide::max(), Wide::min()}) {
        const auto narrow = static_cast<qint32>(number);
        QVERIFY(key.writeNumber64("x", number));
        QCOMPARE(key.readNumber64("x"), std::optional(number));
        QVERIFY(!key.readNumber("x") && !key.readBool("x") && !key.readString("x"));
        QVERIFY(key.writeNumber("x", narrow));
        QCOMPARE(key.readNumber("x"), std::optional(narrow));
        QCOMPARE(key.readBool("x"), std::optional(narrow != 0));
        // Widened without its sign.
        QCOMPARE(key.readNumber64("x"), std::optional(qint64{static_cast<quint32>(narrow)}));
    }
    QVERIFY(key.writeBool("x", true));
    QVERIFY(key.readNumber("x") == 1 && !key.readString("x"));
    QVERIFY(key.writeString("x", "1"));
    QVERIFY(!key.readNumber("x") && !key.readBool("x") && !key.readNumber64("x"));
}

void TestRegistry::caseOfNames_data()
{
    QTest::addColumn<QString>("read");
    QTest::addColumn<bool>("same");
    QTest::newRow("SystemToken") << "systemtoken" << true;
    QTest::newRow("zażółć gęślą jaźń") << QStringLiteral("ZAŻÓŁĆ GĘŚLĄ JAŹŃ") << true;
    QTest::newRow("Ключ") << QStringLiteral("кЛЮЧ") << true;
    QTest::newRow("Straße") << "STRASSE" << false;
}

void TestRegistry::caseOfNames()
{
    const QString written = QString::fromUtf8(QTest::currentDataTag());
    QFETCH(QString, read);
    QFETCH(bool, same);
    const RegistryKey parent(scratchPath() + '\\' + written);
    const RegistryKey key(parent.path() + '\\' + written);
    const RegistryKey other(parent.path() + '\\' + read);
    QVERIFY(key.writeNumber(written, 1));
    QCOMPARE(key.readNumber(read).has_value(), same);
    QVERIFY(other.writeNumber(read, 2));
    QCOMPARE(key.readNumber(written), std::optional(same ? 2 : 1));
    // A second spelling makes no second key, and the first stays.
    QCOMPARE(parent.subKeys().size(), same ? 1 : 2);
    QVERIFY(parent.subKeys().contains(written));
}

void TestRegistry::subKeys()
{
    const QString path = scratchPath();
    for (const char* const key : {"\\b\\deep\\deeper", "\\a\\", "\\a", "\\C, more", " beside\\x"})
        QVERIFY(RegistryKey(path + key).create());
    QCOMPARE(RegistryKey(path).subKeys(), (QStringList{"a", "b", "C, more"}));
    QCOMPARE(RegistryKey(path + "\\b").subKeys(), QStringList("deep"));
}

void TestRegistry::refused()
{
    FaultRecorder faults;
    const RegistryKey key(scratchPath());
    QVERIFY(key.writeString("text", "kept"));
    QVERIFY(!key.writeString("text", QString(512 * 1024 + 1, 'a')));
    QCOMPARE(faults.take().size(), 1);
    QCOMPARE(key.readString("text"), std::optional(QString("kept")));

    for (const char* const path :
         {"HKEY_CLASSES_ROOT\\x", "Korvex", "", "HKEY_LOCAL_MACHINE_\\x"}) {
        QVERIFY(!RegistryKey(path).writeNumber("x", 1));
        QVERIFY(!RegistryKey(path).readNumber("x"));
    }
    QVERIFY(!faults.take().isEmpty());
}

void TestRegistry::processesLoseNothing()
{
    // All writers find the registry missing at the same moment.
    const QString path = scratchPath();
    for (const QByteArray& outcome : korvex::test::runCopies(kWriters, {path}))
        QCOMPARE(outcome, QByteArray());

    const RegistryKey key(path);
    for (int writer = 0; writer < kWriters; ++writer)
        for (int index = 0; index < kValuesEach; ++index)
            QCOMPARE(key.readNumber(valueName(writer, index)), std::optional(index));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--copy")
        return writeAsCopy(arguments.value(2).toInt(), arguments.value(3));
    TestRegistry test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_registry.moc"
