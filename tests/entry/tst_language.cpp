#include "core/log.h"
#include "core/settings.h"
#include "entry/language.h"
#include "platform/copies.h"
#include "support/temporary_root.h"

#include <QProcess>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtTest>

using namespace korvex;

namespace {

/// Finds the system's language as a sign-in does, and tells what became of the texts.
int installAsCopy()
{
    test::awaitRelease();
    QTranslator translator;
    installLanguage(translator);
    logger().log(0, QObject::tr("Korvex for Windows") + (translator.isEmpty() ? " alone" : ""));
    return 0;
}

/// The translations of a translation source file by context and text; "unfinished" for one that is
/// not done.
QMap<QString, QString> messagesOf(const QString& path)
{
    QFile file(path);
    QMap<QString, QString> messages;
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QXmlStreamReader xml(&file);
    QString context;
    QString source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const bool isUnfinished = xml.attributes().hasAttribute("type");
        if (xml.name() == "name")
            context = xml.readElementText();
        else if (xml.name() == "source")
            source = xml.readElementText();
        else if (xml.name() == "translation")
            messages[context + '|' + source] = isUnfinished ? "unfinished" : xml.readElementText();
    }
    return messages;
}

} // namespace

class TestLanguage : public QObject
{
    Q_OBJECT

private slots:
    void choice_data();
    void choice();
    void installation_data();
    void installation();
    void translations_data();
    void translations();
};

void TestLanguage::choice_data()
{
    QTest::addColumn<QString>("code");
    QTest::newRow("de-CH en-US") << "de_DE";
    QTest::newRow("de-AT") << "de_DE";
    QTest::newRow("pl") << "pl_PL";
    QTest::newRow("en-GB de-DE") << "en_US";
    QTest::newRow("fr-FR pl-PL de-DE") << "pl_PL";
    QTest::newRow("fr-FR") << "";
    QTest::newRow("C") << "";
    QTest::newRow("x/y") << "";
    QTest::newRow("") << "";
}

void TestLanguage::choice()
{
    const QString languages = QTest::currentDataTag();
    QTEST(chooseLanguage(languages.split(' ', Qt::SkipEmptyParts)), "code");
}

void TestLanguage::installation_data()
{
    QTest::addColumn<QStringList>("log");
    QTest::newRow("de_CH:en_US") << QStringList(QStringLiteral("Korvex für Windows"));
    QTest::newRow("fr:pl_PL") << QStringList("Korvex dla Windows");
    QTest::newRow("fr") << QStringList{"[Verbose 1] The current system language cannot be found",
                                       "Korvex for Windows"};
}

void TestLanguage::installation()
{
    const test::TemporaryRoot root;
    mainKey().writeNumber("debugMode", 3);
    qputenv("LANGUAGE", QTest::currentDataTag());
    test::runCopies(1, {});
    QTEST(root.logMessages(), "log");
}

void TestLanguage::translations_data()
{
    QTest::addColumn<QString>("credentials");
    QTest::newRow("en_US") << "Incorrect Korvex API credentials.";
    QTest::newRow("de_DE") << QStringLiteral("Falsche Zugangsdaten für die Korvex-API.");
    QTest::newRow("pl_PL") << QStringLiteral("Nieprawidłowe dane uwierzytelniające Korvex API.");
}

void TestLanguage::translations()
{
    const QString code = QTest::currentDataTag();
    QTranslator translator;
    QVERIFY(translator.load(":/i18n/korvexLogin_" + code));
    QTEST(translator.translate("korvex::MainWindow", "Incorrect Korvex API credentials."),
          "credentials");

    // The file has exactly the texts of the code, each of them translated.
    const QTemporaryDir folder;
    const QString found = folder.filePath("found.ts");
    QCOMPARE(QProcess::execute(LUPDATE, {"-silent", KORVEX_SOURCES, "-ts", found}), 0);
    const QMap<QString, QString> messages =
        messagesOf(QStringLiteral(KORVEX_SOURCES "/i18n/korvexLogin_%1.ts").arg(code));
    QVERIFY(!messages.isEmpty());
    QCOMPARE(messages.keys(), messagesOf(found).keys());
    for (auto message = messages.begin(); message != messages.end(); ++message) {
        const QByteArrayList parts = message.key().toUtf8().split('|');
        QVERIFY2(*message != "unfinished" && !message->isEmpty(), parts[1]);
        QCOMPARE(translator.translate(parts[0], parts[1]), *message);
    }
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().value(1) == "--copy")
        return installAsCopy();
    TestLanguage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_language.moc"
