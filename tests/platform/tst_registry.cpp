#include "platform/copies.h"
#include "platform/fault_recorder.h"
#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QtTest>
#include <limits>

using korvex::platform::RegistryKey;
using korvex::test::FaultRecorder;

namespace {

constexpr int kValuesEach = 50;

const QString kPath = QStringLiteral("HKEY_CURRENT_USER\\Software\\Test");

} // namespace

class TestRegistry : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emptyRegistry(); }

    void strings();
    void numbers();
    void caseOfNames();
    void subKeys();
    void refused();
    void processesLoseNothing();

private:
    korvex::test::TemporaryRoot m_root;
    const RegistryKey m_key{kPath};
};

void TestRegistry::strings()
{
    for (const QString& text :
         {QString("it's \"so\"\r\n\\ done\t"), QString(""),
          QStringLiteral("\ufeffZażółć gęślą jaźń, 日本, 🔑"), QString(512 * 1024, 'a')}) {
        // The default value of a key has an empty name.
        for (const char* const name : {"text", ""}) {
            QVERIFY(m_key.writeString(name, text));
            QCOMPARE(m_key.readString(name), std::optional(text));
        }
    }
}

void TestRegistry::numbers()
{
    for (const qint64 number : {qint64{0}, qint64{-1}, std::numeric_limits<qint64>::min()}) {
        const auto narrow = static_cast<qint32>(number);
        QVERIFY(m_key.writeNumber64("x", number));
        QCOMPARE(m_key.readNumber64("x"), std::optional(number));
        QVERIFY(!m_key.readNumber("x") && !m_key.readBool("x") && !m_key.readString("x"));
        QVERIFY(m_key.writeNumber("x", narrow));
        QCOMPARE(m_key.readNumber("x"), std::optional(narrow));
        QCOMPARE(m_key.readBool("x"), std::optional(narrow != 0));
        // Widened without its sign.
        QCOMPARE(m_key.readNumber64("x"), std::optional(qint64{static_cast<quint32>(narrow)}));
    }
    QVERIFY(m_key.writeString("x", "1"));
    QVERIFY(!m_key.readNumber("x") && !m_key.readBool("x") && !m_key.readNumber64("x"));
}

void TestRegistry::caseOfNames()
{
    for (const bool same : {true, false}) {
        const QString written = same ? "System żółć" : "Straße";
        const QString read = same ? "sYSTEM ŻÓŁĆ" : "STRASSE";
        const RegistryKey parent(kPath + '\\' + written);
        const RegistryKey key(parent.path() + '\\' + written);
        QVERIFY(key.writeNumber(written, 1));
        QCOMPARE(key.readNumber(read).has_value(), same);
        QVERIFY(RegistryKey(parent.path() + '\\' + read).writeNumber(read, 2));
        QCOMPARE(key.readNumber(written), std::optional(same ? 2 : 1));
        // A second spelling makes no second key, and the first stays.
        QCOMPARE(parent.subKeys().size(), same ? 1 : 2);
        QVERIFY(parent.subKeys().contains(written));
    }
}

void TestRegistry::subKeys()
{
    for (const char* const key : {"\\b\\deep\\deeper", "\\\\a\\", "\\C, more", " beside\\x"})
        QVERIFY(RegistryKey(kPath + key).writeNumber("x", 1));
    QCOMPARE(m_key.subKeys(), (QStringList{"a", "b", "C, more"}));
}

void TestRegistry::refused()
{
    FaultRecorder faults;
    QVERIFY(m_key.writeString("text", "kept"));
    QVERIFY(!m_key.readString("absent")); // is no fault
    QVERIFY(!m_key.writeString("text", QString(512 * 1024 + 1, 'a')));
    QCOMPARE(faults.take().size(), 1);
    QCOMPARE(m_key.readString("text"), std::optional(QString("kept")));

    for (const char* const path : {"HKEY_CLASSES_ROOT\\x", "", "HKEY_LOCAL_MACHINE_\\x"}) {
        QVERIFY(!RegistryKey(path).writeNumber("x", 1));
        QVERIFY(!RegistryKey(path).readNumber("x"));
        QCOMPARE(faults.take().size(), 1);
    }
}

void TestRegistry::processesLoseNothing()
{
    // All writers find the registry missing at the same moment.
    const int writers = korvex::test::runCopies(16, {}).count(QByteArray());
    QCOMPARE(writers, 16);
    for (int value = 0; value < writers * kValuesEach; ++value)
        QCOMPARE(m_key.readNumber(QString::number(value)), std::optional(value));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--copy") == 0) {
        korvex::test::awaitRelease();
        int value = QByteArray(argv[2]).toInt() * kValuesEach;
        for (int left = kValuesEach; left > 0; --left, ++value)
            RegistryKey(kPath).writeNumber(QString::number(value), value);
        return 0;
    }
    TestRegistry test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_registry.moc"
