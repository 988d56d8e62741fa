#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QtTest>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using korvex::platform::RegistryKey;

namespace {

const QString kKey = QStringLiteral("HKLM\\SOFTWARE\\Test");
const QString kFullKey = QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Test");
const QByteArray kDone = "The operation completed successfully.\n";
const QByteArray kNotFound =
    "ERROR: The system was unable to find the specified registry key or value.\n";
const QByteArray kCanceled = "The operation was canceled by the user.\n";
const QByteArray kSignature = "Windows Registry Editor Version 5.00\r\n\r\n";

struct Result
{
    int exitCode;
    QByteArray output;
    QByteArray error;
};

Result resultOf(QProcess& process)
{
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {-1, {}, process.errorString().toUtf8()};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

/// Runs the program; arguments are one text, separated by "|".
Result reg(const QString& arguments)
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QStringLiteral(KORVEX_REG), arguments.split(QLatin1Char('|')));
    return resultOf(process);
}

/// Runs it on a terminal of its own, on which `answers` are typed.
Result regOnTerminal(const QString& arguments, const QByteArray& answers)
{
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0)
        return {-1, {}, "no terminal"};
    QProcess process;
    process.setStandardInputFile(QString::fromLocal8Bit(::ptsname(terminal)));
    process.start(QStringLiteral(KORVEX_REG), arguments.split(QLatin1Char('|')));
    const bool isTyped = ::write(terminal, answers.constData(),
                                 static_cast<size_t>(answers.size())) == answers.size();
    const Result result = resultOf(process);
    ::close(terminal);
    return isTyped ? result : Result{-1, {}, "nothing typed"};
}

QByteArray utf16(const QByteArray& text)
{
    QByteArray bytes = "\xff\xfe";
    for (const QChar character : QString::fromUtf8(text)) {
        bytes += static_cast<char>(character.unicode() & 0xff);
        bytes += static_cast<char>(character.unicode() >> 8);
    }
    return bytes;
}

} // namespace

#define COMPARE_RESULT(RESULT, EXIT_CODE, OUTPUT, ERROR)                                           \
    do {                                                                                           \
        const Result result = RESULT;                                                              \
        QCOMPARE(result.error, QByteArray(ERROR));                                                 \
        QCOMPARE(result.output, QByteArray(OUTPUT));                                               \
        QCOMPARE(result.exitCode, EXIT_CODE);                                                      \
    } while (false)

class TestRegistryEditor : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_root.emplace(); }
    void cleanup() { m_root.reset(); }

    void add_data();
    void add();
    void addRefuses_data();
    void addRefuses();
    void addMakesTheKeyAlone();
    void syntax_data();
    void syntax();
    void usage();
    void queryShowsAKey();
    void queryRecursively();
    void queryFindsNothing_data();
    void queryFindsNothing();
    void deleteValue();
    void deleteAllValues();
    void deleteKey();
    void asksOnATerminal_data();
    void asksOnATerminal();
    void withoutATerminalTheAnswerIsNo();
    void exportedBytes();
    void exportAndImportAgain();
    void exportKeepsAnExistingFile();
    void import_data();
    void import();
    void importDeletes();
    void badImportChangesNothing_data();
    void badImportChangesNothing();
    void importOfNoFile();
    void importOfAHugeFile();
    void damagedRegistry();

private:
    QString filePath() const { return m_root->path() + QStringLiteral("/file.reg"); }
    bool writeFile(const QByteArray& content) const
    {
        QFile file(filePath());
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
    QByteArray readFile() const
    {
        QFile file(filePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    Result importFile() const { return reg(QStringLiteral("import|") + filePath()); }
    RegistryKey key() const { return RegistryKey(kFullKey); }

    std::optional<korvex::test::TemporaryRoot> m_root;
};

void TestRegistryEditor::add_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("shown");
    const auto row = [](const char* name, const char* arguments, const char* shown) {
        QTest::newRow(name) << QString::fromUtf8(arguments) << QByteArray(shown);
    };
    row("string", "/v|x|/t|REG_SZ|/d|some text|/f", "x    REG_SZ    some text");
    row("string is the type", "/v|x|/d|12", "x    REG_SZ    12");
    row("no data", "/v|x", "x    REG_SZ    ");
    row("beyond ASCII", "/v|ż|/d|Größe 日本", "ż    REG_SZ    Größe 日本");
    row("switch as data", "/d|/f|/v|x", "x    REG_SZ    /f");
    row("default value", "/ve|/d|x", "(Default)    REG_SZ    x");
    row("data without a name", "/d|x", "(Default)    REG_SZ    x");
    row("number", "/v|x|/t|REG_DWORD|/d|10", "x    REG_DWORD    0xa");
    row("leading zero is decimal", "/v|x|/t|REG_DWORD|/d|010", "x    REG_DWORD    0xa");
    row("hexadecimal", "/v|x|/t|REG_DWORD|/d|0xFFffFFFF", "x    REG_DWORD    0xffffffff");
    row("largest", "/v|x|/t|REG_DWORD|/d|4294967295", "x    REG_DWORD    0xffffffff");
    row("no number", "/v|x|/t|REG_DWORD", "x    REG_DWORD    0x0");
    row("64 bits", "/v|x|/t|REG_QWORD|/d|18446744073709551615",
        "x    REG_QWORD    0xffffffffffffffff");
    row("switches in capitals", "/D|30|/T|reg_qword|/V|x|/F", "x    REG_QWORD    0x1e");
}

void TestRegistryEditor::add()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, shown);
    COMPARE_RESULT(reg(QStringLiteral("add|%1|%2").arg(kKey, arguments)), 0, kDone, "");
    COMPARE_RESULT(reg(QStringLiteral("query|") + kKey), 0,
                   "\n" + kFullKey.toUtf8() + "\n    " + shown + "\n\n", "");
    // The same with the switches first, and over what is there now.
    const QString force = arguments.endsWith(QLatin1String("/f"), Qt::CaseInsensitive)
                              ? QString()
                              : QStringLiteral("|/f");
    COMPARE_RESULT(reg(QStringLiteral("ADD|%1%2|%3").arg(arguments, force, kKey)), 0, kDone, "");
}

void TestRegistryEditor::addRefuses_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("cause");
    const QByteArray number = "Specify valid numeric value for '/d'.";
    const auto row = [](const char* name, const char* arguments, const QByteArray& cause) {
        QTest::newRow(name) << QString::fromUtf8(arguments) << cause;
    };
    row("too large", "/v|x|/t|REG_DWORD|/d|4294967296", number);
    row("too large for 64 bits", "/v|x|/t|REG_QWORD|/d|18446744073709551616", number);
    row("negative", "/v|x|/t|REG_DWORD|/d|-1", number);
    row("plus sign", "/v|x|/t|REG_DWORD|/d|+1", number);
    row("no number", "/v|x|/t|REG_DWORD|/d|ten", number);
    row("empty", "/v|x|/t|REG_DWORD|/d|", number);
    row("hexadecimal without 0x", "/v|x|/t|REG_DWORD|/d|ff", number);
    row("twice 0x", "/v|x|/t|REG_DWORD|/d|0x0x1", number);
    row("other type", "/v|x|/t|REG_BINARY|/d|00",
        "The type 'REG_BINARY' is not REG_SZ, REG_DWORD or REG_QWORD.");
    row("line break in the name", "/v|a\nb|/d|x", "A name holds no control characters.");
}

void TestRegistryEditor::addRefuses()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, cause);
    COMPARE_RESULT(reg(QStringLiteral("add|%1|%2").arg(kKey, arguments)), 1, "",
                   "ERROR: Invalid syntax. " + cause + "\nType \"REG ADD /?\" for usage.\n");
    COMPARE_RESULT(reg(QStringLiteral("query|") + kKey), 1, "", kNotFound);
}

void TestRegistryEditor::addMakesTheKeyAlone()
{
    COMPARE_RESULT(reg(QStringLiteral("add|%1\\a\\b").arg(kKey)), 0, kDone, "");
    COMPARE_RESULT(reg(QStringLiteral("add|%1\\a\\b|/f").arg(kKey)), 0, kDone, "");
    COMPARE_RESULT(reg(QStringLiteral("query|") + kKey), 0, "\n" + kFullKey.toUtf8() + "\\a\n", "");
}

void TestRegistryEditor::syntax_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("error");
    const auto row = [](const char* name, const char* arguments, const char* error) {
        QTest::newRow(name) << QString::fromLatin1(arguments) << QByteArray(error);
    };
    row("no verb", "", "ERROR: Invalid syntax.\nType \"REG /?\" for usage.\n");
    row("no such verb", "copy|HKLM\\x", "ERROR: Invalid syntax.\nType \"REG /?\" for usage.\n");
    row("no key", "query", "ERROR: Invalid syntax.\nType \"REG QUERY /?\" for usage.\n");
    row("empty key", "query|", "ERROR: Invalid syntax.\nType \"REG QUERY /?\" for usage.\n");
    row("two keys", "query|HKLM|HKLM",
        "ERROR: Invalid syntax.\nType \"REG QUERY /?\" for usage.\n");
    row("switch without its value", "query|HKLM|/v",
        "ERROR: Invalid syntax. '/v' has no value.\nType \"REG QUERY /?\" for usage.\n");
    row("switch twice", "query|HKLM|/S|/s",
        "ERROR: Invalid syntax. '/s' is there twice.\nType \"REG QUERY /?\" for usage.\n");
    row("switch of another verb", "query|HKLM|/va",
        "ERROR: Invalid syntax. There is no switch '/va'.\nType \"REG QUERY /?\" for usage.\n");
    row("two names", "delete|HKLM\\x|/v|a|/va|/f",
        "ERROR: Invalid syntax.\nType \"REG DELETE /?\" for usage.\n");
    row("no file", "export|HKLM", "ERROR: Invalid syntax.\nType \"REG EXPORT /?\" for usage.\n");
    row("other root", "add|HKCU\\Software\\x|/f",
        "ERROR: Invalid key name. It has to begin with HKLM or HKEY_LOCAL_MACHINE.\n"
        "Type \"REG ADD /?\" for usage.\n");
    row("root and more", "query|HKLMX\\x",
        "ERROR: Invalid key name. It has to begin with HKLM or HKEY_LOCAL_MACHINE.\n"
        "Type \"REG QUERY /?\" for usage.\n");
    row("the root itself", "delete|HKLM|/f",
        "ERROR: The system was unable to find the specified registry key or value.\n");
}

void TestRegistryEditor::syntax()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, error);
    COMPARE_RESULT(reg(arguments), 1, "", error);
}

void TestRegistryEditor::usage()
{
    const Result all = reg(QStringLiteral("/?"));
    QCOMPARE(all.exitCode, 0);
    for (const char* const verb : {"add", "query", "delete", "import", "export"}) {
        const QByteArray line = QByteArray("korvex-reg ") + verb + ' ';
        QVERIFY(all.output.contains(line));
        const Result one = reg(QString::fromLatin1(verb) + QStringLiteral("|/?"));
        QCOMPARE(one.exitCode, 0);
        QVERIFY(one.output.startsWith(line));
    }
}

void TestRegistryEditor::queryShowsAKey()
{
    QVERIFY(key().writeString(QStringLiteral("b text"), QStringLiteral("two words")));
    QVERIFY(key().writeNumber(QStringLiteral("A number"), -1));
    QVERIFY(key().writeNumber64(QStringLiteral("c"), 30));
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\Sub\\Deep")).create());
    const QByteArray path = kFullKey.toUtf8();
    COMPARE_RESULT(reg(QStringLiteral("query|hklm\\software\\TEST")), 0,
                   "\n" + path + "\n    A number    REG_DWORD    0xffffffff\n" +
                       "    b text    REG_SZ    two words\n    c    REG_QWORD    0x1e\n\n" + path +
                       "\\Sub\n",
                   "");
    COMPARE_RESULT(reg(QStringLiteral("query|%1|/v|B TEXT").arg(kFullKey)), 0,
                   "\n" + path + "\n    B TEXT    REG_SZ    two words\n\n", "");
}

void TestRegistryEditor::queryRecursively()
{
    const QByteArray path = kFullKey.toUtf8();
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\a")).create());
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\b"))
                .writeString(QStringLiteral("X"), QStringLiteral("two")));
    COMPARE_RESULT(reg(QStringLiteral("query|%1|/s").arg(kKey)), 0,
                   "\n" + path + "\n    x    REG_DWORD    0x1\n\n" + path + "\\a\n\n" + path +
                       "\\b\n    X    REG_SZ    two\n\n",
                   "");
    COMPARE_RESULT(reg(QStringLiteral("query|/s|%1|/v|x").arg(kKey)), 0,
                   "\n" + path + "\n    x    REG_DWORD    0x1\n\n" + path +
                       "\\b\n    X    REG_SZ    two\n\nEnd of search: 2 match(es) found.\n",
                   "");
    COMPARE_RESULT(reg(QStringLiteral("query|%1|/s|/v|y").arg(kKey)), 1,
                   "\nEnd of search: 0 match(es) found.\n", "");
}

void TestRegistryEditor::queryFindsNothing_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<bool>("hasRegistry");
    QTest::newRow("no registry") << QStringLiteral("query|HKLM\\SOFTWARE\\Test") << false;
    QTest::newRow("no key") << QStringLiteral("query|HKLM\\SOFTWARE\\Other") << true;
    QTest::newRow("no value") << QStringLiteral("query|HKLM\\SOFTWARE\\Test|/v|y") << true;
    QTest::newRow("no default value") << QStringLiteral("query|HKLM\\SOFTWARE\\Test|/ve") << true;
    QTest::newRow("no key to delete") << QStringLiteral("delete|HKLM\\SOFTWARE\\Other|/f") << true;
    QTest::newRow("no value to delete")
        << QStringLiteral("delete|HKLM\\SOFTWARE\\Test|/v|y|/f") << true;
    QTest::newRow("no key to export")
        << QStringLiteral("export|HKLM\\SOFTWARE\\Other|x.reg") << true;
}

void TestRegistryEditor::queryFindsNothing()
{
    QFETCH(QString, arguments);
    QFETCH(bool, hasRegistry);
    if (hasRegistry)
        QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    COMPARE_RESULT(reg(arguments), 1, "", kNotFound);
    QCOMPARE(QFile::exists(m_root->path() + QStringLiteral("/registry.db")), hasRegistry);
}

void TestRegistryEditor::deleteValue()
{
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    QVERIFY(key().writeNumber(QStringLiteral("y"), 2));
    COMPARE_RESULT(reg(QStringLiteral("delete|%1|/v|X|/f").arg(kKey)), 0, kDone, "");
    QVERIFY(!key().readNumber(QStringLiteral("x")));
    QCOMPARE(key().readNumber(QStringLiteral("y")), std::optional(2));
}

void TestRegistryEditor::deleteAllValues()
{
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    QVERIFY(key().writeNumber(QString(), 2));
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\Sub")).writeNumber(QStringLiteral("z"), 3));
    COMPARE_RESULT(reg(QStringLiteral("delete|/f|%1|/va").arg(kKey)), 0, kDone, "");
    QVERIFY(!key().readNumber(QStringLiteral("x")));
    QVERIFY(!key().readNumber(QString()));
    QCOMPARE(key().subKeys(), QStringList(QStringLiteral("Sub")));
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\Sub")).readNumber(QStringLiteral("z")));
}

void TestRegistryEditor::deleteKey()
{
    const RegistryKey below(kFullKey + QStringLiteral("\\Sub\\Deep"));
    const RegistryKey beside(kFullKey + QStringLiteral("s"));
    QVERIFY(below.writeNumber(QStringLiteral("x"), 1));
    QVERIFY(beside.writeNumber(QStringLiteral("x"), 1));
    COMPARE_RESULT(reg(QStringLiteral("delete|%1|/f").arg(kKey)), 0, kDone, "");
    QVERIFY(!below.readNumber(QStringLiteral("x")));
    QVERIFY(beside.readNumber(QStringLiteral("x")));
    COMPARE_RESULT(reg(QStringLiteral("query|") + kKey), 1, "", kNotFound);
    COMPARE_RESULT(reg(QStringLiteral("delete|HKLM|/f")), 1, "", "ERROR: Access is denied.\n");
    QVERIFY(beside.readNumber(QStringLiteral("x")));
}

void TestRegistryEditor::asksOnATerminal_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("answers");
    QTest::addColumn<int>("questions");
    QTest::addColumn<bool>("done");
    const QString value = QStringLiteral("delete|HKLM\\SOFTWARE\\Test|/v|x");
    QTest::newRow("yes") << value << QByteArray("Yes\n") << 1 << true;
    QTest::newRow("y") << value << QByteArray("y\n") << 1 << true;
    QTest::newRow("no") << value << QByteArray("n\n") << 1 << false;
    QTest::newRow("asks again") << value << QByteArray("perhaps\n\nYES\n") << 3 << true;
    QTest::newRow("end of input") << value << QByteArray("\x04") << 1 << false;
    QTest::newRow("key") << QStringLiteral("delete|HKLM\\SOFTWARE\\Test") << QByteArray("y\n") << 1
                         << true;
    QTest::newRow("all values") << QStringLiteral("delete|HKLM\\SOFTWARE\\Test|/va")
                                << QByteArray("y\n") << 1 << true;
    QTest::newRow("overwrite") << QStringLiteral("add|HKLM\\SOFTWARE\\Test|/v|x|/d|new")
                               << QByteArray("y\n") << 1 << true;
    QTest::newRow("do not overwrite") << QStringLiteral("add|HKLM\\SOFTWARE\\Test|/v|x|/d|new")
                                      << QByteArray("no\n") << 1 << false;
}

void TestRegistryEditor::asksOnATerminal()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, answers);
    QFETCH(int, questions);
    QFETCH(bool, done);
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    const Result result = regOnTerminal(arguments, answers);
    QCOMPARE(result.error, QByteArray());
    QCOMPARE(result.output.count("(Yes/No)? "), questions);
    QVERIFY2(result.output.endsWith(done ? kDone : kCanceled), result.output.constData());
    QCOMPARE(result.exitCode, done ? 0 : 1);
    QCOMPARE(key().readNumber(QStringLiteral("x")).has_value(), !done);
}

void TestRegistryEditor::withoutATerminalTheAnswerIsNo()
{
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    COMPARE_RESULT(reg(QStringLiteral("delete|%1|/v|x").arg(kKey)), 1,
                   "Delete the registry value x (Yes/No)? \n" + kCanceled, "");
    COMPARE_RESULT(reg(QStringLiteral("delete|%1").arg(kKey)), 1,
                   "Permanently delete the registry key " + kFullKey.toUtf8() + " (Yes/No)? \n" +
                       kCanceled,
                   "");
    COMPARE_RESULT(reg(QStringLiteral("add|%1|/v|x|/d|new").arg(kKey)), 1,
                   "Value x exists, overwrite(Yes/No)? \n" + kCanceled, "");
    QCOMPARE(key().readNumber(QStringLiteral("x")), std::optional(1));
}

void TestRegistryEditor::exportedBytes()
{
    QVERIFY(key().writeString(QStringLiteral("path \"x\""), QStringLiteral("C:\\a \"b\"; c")));
    QVERIFY(key().writeString(QString(), QString::fromUtf8("żółć")));
    QVERIFY(key().writeString(QStringLiteral("two lines"), QStringLiteral("a\nb")));
    QVERIFY(key().writeNumber(QStringLiteral("number"), 0x1aF));
    QVERIFY(key().writeNumber64(QStringLiteral("wide"), 0x0102030405060708));
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\Sub")).create());
    COMPARE_RESULT(reg(QStringLiteral("export|%1|%2").arg(kKey, filePath())), 0, kDone, "");
    QCOMPARE(readFile(), utf16("Windows Registry Editor Version 5.00\r\n"
                               "\r\n"
                               "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n"
                               "@=\"żółć\"\r\n"
                               "\"number\"=dword:000001af\r\n"
                               "\"path \\\"x\\\"\"=\"C:\\\\a \\\"b\\\"; c\"\r\n"
                               "\"two lines\"=hex(1):61,00,0a,00,62,00,00,00\r\n"
                               "\"wide\"=hex(b):08,07,06,05,04,03,02,01\r\n"
                               "\r\n"
                               "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test\\Sub]\r\n"
                               "\r\n"));
    struct stat status{};
    QCOMPARE(::stat(QFile::encodeName(filePath()).constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777u, 0600u);
}

void TestRegistryEditor::exportAndImportAgain()
{
    const QString odd = QString::fromUtf8("\" \\ [x] = ; @ \\\" 日本 🔑");
    QVERIFY(key().writeString(odd, odd));
    QVERIFY(key().writeString(QStringLiteral("empty"), QString()));
    QVERIFY(key().writeString(QStringLiteral("lines"), QStringLiteral("\r\nx\ty\n").repeated(100)));
    QVERIFY(key().writeString(QStringLiteral("ends in \\"), QStringLiteral("C:\\")));
    QVERIFY(key().writeNumber(QStringLiteral("number"), -1));
    QVERIFY(key().writeNumber64(QStringLiteral("wide"), std::numeric_limits<qint64>::min()));
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\a;b]\\c")).writeNumber(QString(), 1));
    COMPARE_RESULT(reg(QStringLiteral("export|%1|%2").arg(kKey, filePath())), 0, kDone, "");
    const QByteArray exported = readFile();
    const QByteArray before = reg(QStringLiteral("query|%1|/s").arg(kKey)).output;
    QVERIFY(before.contains(odd.toUtf8()));

    m_root.emplace();
    QVERIFY(writeFile(exported));
    COMPARE_RESULT(importFile(), 0, kDone, "");
    COMPARE_RESULT(reg(QStringLiteral("query|%1|/s").arg(kKey)), 0, before, "");
    COMPARE_RESULT(reg(QStringLiteral("export|%1|%2|/y").arg(kKey, filePath())), 0, kDone, "");
    QCOMPARE(readFile(), exported);
}

void TestRegistryEditor::exportKeepsAnExistingFile()
{
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    QVERIFY(writeFile("precious"));
    const QString arguments = QStringLiteral("export|%1|%2").arg(kKey, filePath());
    COMPARE_RESULT(reg(arguments), 1,
                   "File " + filePath().toUtf8() +
                       " already exists. Do you want to overwrite it (Yes/No)? \n" + kCanceled,
                   "");
    QCOMPARE(readFile(), QByteArray("precious"));
    QCOMPARE(regOnTerminal(arguments, "yes\n").exitCode, 0);
    QVERIFY(readFile().startsWith("\xff\xfe"));
    QCOMPARE(reg(QStringLiteral("export|%1|%2/no/folder.reg").arg(kKey, m_root->path())).exitCode,
             1);
}

void TestRegistryEditor::import_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("value");
    const QByteArray start = kSignature + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n";
    const auto row = [](const char* name, const QByteArray& content, const char* valueName,
                        const QVariant& value) {
        QTest::newRow(name) << content << QString::fromUtf8(valueName) << value;
    };
    const QVariant text = QString::fromUtf8("a \"b\" \\ ż; c");
    const QByteArray textLine = "\"ż\"=\"a \\\"b\\\" \\\\ ż; c\"";
    row("UTF-16", utf16(start + textLine + "\r\n"), "Ż", text);
    row("UTF-8", start + textLine, "ż", text);
    row("UTF-8 with mark", "\xef\xbb\xbf" + start + textLine, "ż", text);
    row("lines ended by LF", QByteArray(start + textLine).replace("\r\n", "\n"), "ż", text);
    row("blanks and comments",
        start + "; a comment\r\n\r\n  \t\r\n  \"x\" = \"y\" ; z\r\n  ; \"x\"=\"n\"", "x",
        QStringLiteral("y"));
    row("default value", start + "@=\"y\"", "", QStringLiteral("y"));
    row("dword", start + "\"x\"=dword:0000001E", "x", qint32{30});
    row("short dword", start + "\"x\"=DWORD:1e ; hexadecimal", "x", qint32{30});
    row("largest dword", start + "\"x\"=dword:ffffffff", "x", qint32{-1});
    row("qword", start + "\"x\"=hex(b):1e,00,00,00,00,00,00,80", "x",
        std::numeric_limits<qint64>::min() + 30);
    row("continued", start + "\"x\"=hex(b):1e,00,\\\r\n  00,00,00,\\  \r\n ; between\r\n 00,00,00",
        "x", qint64{30});
    row("dword as bytes", start + "\"x\"=hex(4):1e,0,00,00", "x", qint32{30});
    row("string as bytes", start + "\"x\"=hex(1):79,00,7c,01,00,00", "x", QString::fromUtf8("yż"));
    row("string without its NUL", start + "\"x\"=hex(1):79,00", "x", QStringLiteral("y"));
    row("empty string as bytes", start + "\"x\"=hex(1):", "x", QStringLiteral(""));
    row("short root name", kSignature + "[hklm\\SOFTWARE\\Test]\r\n\"x\"=\"y\"", "x",
        QStringLiteral("y"));
    row("the last one counts", start + "\"x\"=\"a\"\r\n\"X\"=dword:1", "x", qint32{1});
    row("deleted and made again",
        start + "\"x\"=\"a\"\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n" +
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n\"y\"=\"b\"",
        "y", QStringLiteral("b"));
}

void TestRegistryEditor::import()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, name);
    QFETCH(QVariant, value);
    QVERIFY(writeFile(content));
    COMPARE_RESULT(importFile(), 0, kDone, "");
    if (value.userType() == QMetaType::QString)
        QCOMPARE(key().readString(name), std::optional(value.toString()));
    else if (value.userType() == QMetaType::Int)
        QCOMPARE(key().readNumber(name), std::optional(value.toInt()));
    else
        QCOMPARE(key().readNumber64(name), std::optional(value.toLongLong()));
}

void TestRegistryEditor::importDeletes()
{
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    QVERIFY(key().writeNumber(QStringLiteral("y"), 2));
    QVERIFY(key().writeNumber(QString(), 3));
    QVERIFY(RegistryKey(kFullKey + QStringLiteral("\\Sub\\Deep")).create());
    QVERIFY(writeFile(kSignature + "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Test\\Sub]\r\n" +
                      "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\NotThere]\r\n" +
                      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n" +
                      "\"x\"=-\r\n\"not there\" = - ; gone\r\n@=-\r\n"));
    COMPARE_RESULT(importFile(), 0, kDone, "");
    QVERIFY(!key().readNumber(QStringLiteral("x")));
    QVERIFY(!key().readNumber(QString()));
    QCOMPARE(key().readNumber(QStringLiteral("y")), std::optional(2));
    QCOMPARE(key().subKeys(), QStringList());
}

void TestRegistryEditor::badImportChangesNothing_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("cause");
    const QByteArray start =
        kSignature + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n\"x\"=dword:2\r\n";
    const auto row = [&start](const char* name, const QByteArray& lines, const QByteArray& cause) {
        QTest::newRow(name) << QByteArray(start + lines + "\r\n\"y\"=dword:2\r\n") << cause;
    };
    row("binary", "\"z\"=hex:01,02",
        "line 5: the type hex is not supported: only strings, dword and hex(b) are");
    row("several strings", "\"z\"=hex(7):61,00,\\\r\n  00,00",
        "line 5: the type hex(7) is not supported: only strings, dword and hex(b) are");
    row("unknown", "\"z\"=qword:1", "line 5: the value is of no known form");
    row("nothing", "\"z\"=", "line 5: the value is of no known form");
    row("no quotation mark", "\r\n; one\r\n\"z\"=\"abc",
        "line 7: the closing quotation mark is missing");
    row("more behind it", "\"z\"=\"abc\" def", "line 5: there is more behind the value");
    row("other escape", "\"z\"=\"a\\nb\"", "line 5: '\\n' stands for nothing");
    row("no equals sign", "\"z\" \"abc\"", "line 5: there is no '=' behind the name");
    row("no quotes", "z=\"abc\"", "line 5: there is no value here");
    row("long dword", "\"z\"=dword:123456789",
        "line 5: a dword is a number of up to 8 hexadecimal digits");
    row("no hexadecimal dword", "\"z\"=dword:0x1",
        "line 5: a dword is a number of up to 8 hexadecimal digits");
    row("short qword", "\"z\"=hex(b):01,02", "line 5: 2 bytes are not a value of the type hex(b)");
    row("odd string", "\"z\"=hex(1):61", "line 5: 1 bytes are not a value of the type hex(1)");
    row("no byte", "\"z\"=hex(b):01,123,00,00,00,00,00,00",
        "line 5: '123' is not a byte of two hexadecimal digits");
    row("gap", "\"z\"=hex(b):01,,00", "line 5: '' is not a byte of two hexadecimal digits");
    row("other root", "[HKEY_CURRENT_USER\\Software]",
        "line 5: the key is not a key below HKEY_LOCAL_MACHINE");
    row("open key", "[HKEY_LOCAL_MACHINE\\x", "line 5: the key has no end");
    row("bracket alone", "[", "line 5: the key has no end");
    row("root deleted", "[-HKEY_LOCAL_MACHINE]", "line 5: HKEY_LOCAL_MACHINE cannot be deleted");
    row("value of a deleted key", "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n\"z\"=\"a\"",
        "line 6: the value belongs to no key");
    QTest::newRow("cut in a value") << QByteArray(start + "\"z\"=hex(b):01,\\")
                                    << QByteArray("line 5: the last line of the value is missing");
    QTest::newRow("value before any key") << QByteArray(kSignature + "\"x\"=dword:2")
                                          << QByteArray("line 3: the value belongs to no key");
    const QByteArray noSignature =
        "line 1: it does not begin with 'Windows Registry Editor Version 5.00'";
    QTest::newRow("empty") << QByteArray() << noSignature;
    QTest::newRow("older version") << QByteArray("REGEDIT4\r\n\r\n") << noSignature;
    const QByteArray noText = "it is not text in UTF-16 or UTF-8";
    QTest::newRow("another encoding") << QByteArray(start + "\"z\"=\"\xfc\"") << noText;
    QTest::newRow("half a character") << QByteArray(utf16(start) + "x") << noText;
}

void TestRegistryEditor::badImportChangesNothing()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, cause);
    QVERIFY(key().writeNumber(QStringLiteral("x"), 1));
    QVERIFY(writeFile(content));
    COMPARE_RESULT(importFile(), 1, "",
                   "ERROR: The file '" + filePath().toUtf8() + "' cannot be imported: " + cause +
                       ".\n");
    COMPARE_RESULT(reg(QStringLiteral("query|%1|/s").arg(kKey)), 0,
                   "\n" + kFullKey.toUtf8() + "\n    x    REG_DWORD    0x1\n\n", "");
}

void TestRegistryEditor::importOfNoFile()
{
    const Result missing = importFile();
    QCOMPARE(missing.exitCode, 1);
    QVERIFY(missing.error.startsWith("ERROR: Error opening the file '" + filePath().toUtf8()));
    QVERIFY(!QFile::exists(m_root->path() + QStringLiteral("/registry.db")));
}

void TestRegistryEditor::importOfAHugeFile()
{
    QVERIFY(writeFile(kSignature + QByteArray(16 * 1024 * 1024, ';')));
    COMPARE_RESULT(importFile(), 1, "",
                   "ERROR: The file '" + filePath().toUtf8() + "' is larger than 16 MiB.\n");
}

void TestRegistryEditor::damagedRegistry()
{
    const QString path = m_root->path() + QStringLiteral("/registry.db");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(5000, 'x')) == 5000);
    file.close();
    QVERIFY(writeFile(kSignature + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Test]\r\n"));
    for (const QString& arguments :
         {QStringLiteral("query|HKLM"), QStringLiteral("add|HKLM\\x|/v|x"),
          QStringLiteral("delete|HKLM\\x|/f"), QStringLiteral("import|") + filePath()}) {
        const Result result = reg(arguments);
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.output, QByteArray());
        QVERIFY2(result.error.startsWith("ERROR: The registry file '" + path.toUtf8() + "'"),
                 result.error.constData());
    }
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray(5000, 'x'));
}

QTEST_GUILESS_MAIN(TestRegistryEditor)

#include "tst_registry_editor.moc"
