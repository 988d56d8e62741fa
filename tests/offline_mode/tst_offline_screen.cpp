#include "api/connectivity.h"
#include "core/current_sign_in.h"
#include "core/process_state.h"
#include "core/verdict.h"
#include "offline_mode/custom_tools.h"
#include "offline_mode/exit_handler.h"
#include "offline_mode/file_validator.h"
#include "offline_mode/internationalization_controller.h"
#include "offline_mode/offline_mode_controller.h"
#include "offline_mode/screen_result.h"
#include "offline_mode/totp_controller.h"
#include "offline_mode/totp_method_data_provider.h"
#include "offline_mode/totp_text_provider.h"
#include "otp/offline_secret.h"
#include "rest/rest_client.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QImage>
#include <QJsonObject>
#include <QTranslator>
#include <QtTest>
#include <thread>

using namespace korvex;
using namespace korvex::offline_mode;

/// The part of the offline screen that needs no window.
class TestOfflineScreen : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }
    void validation_data();
    void validation();
    void refusedAttempts();
    void codeDigits_data();
    void codeDigits();
    void logo_data();
    void logo();
    void languages();
    void exitHandler();
    void screenThatCannotBeBuilt();

private:
    test::ProcessState m_state;
};

void TestOfflineScreen::validation_data()
{
    QTest::addColumn<bool>("status");
    QTest::addColumn<QString>("message");
    const QString sixDigits = "The code has six digits.";
    QTest::newRow("123456") << true << "The code has the correct format!";
    QTest::newRow("") << false << "Please fill out this field.";
    for (const char* code : {"12345", "1234567", "12345a", "12 345", "١٢٣٤٥٦"})
        QTest::newRow(code) << false << sixDigits;
}

void TestOfflineScreen::validation()
{
    const TotpController controller(std::make_shared<ScreenResult>());
    const OtpValidateResult result =
        controller.getValidateResult(QString::fromUtf8(QTest::currentDataTag()));
    QTEST(result.status, "status");
    QTEST(result.wholeValidateMessage, "message");
}

void TestOfflineScreen::refusedAttempts()
{
    mainKey().writeNumber("OfflineTOTPMaxAttempts", 3);
    mainKey().writeNumber("OfflineTOTPTimeBetweenAttempts", 1000);
    const auto screen = std::make_shared<ScreenResult>();
    TotpController controller(screen);
    for (int attempt = 1; attempt <= 3; ++attempt) {
        QVERIFY(controller.getValidateResult("000000").status);
        QCOMPARE(controller.secondsToWait(), 0);
        QVERIFY(!controller.checkCode("000000"));
    }
    QVERIFY(controller.secondsToWait() > 900);
    for (const char* code : {"000000", ""})
        QCOMPARE(controller.getValidateResult(code).wholeValidateMessage, "Too Many Attempts.");
    m_state.takeLog();
    QVERIFY(!controller.checkCode("000000"));
    QCOMPARE(m_state.takeLog(), QStringList{"Too many verification attempts!"});
    controller.closeWindow();
    QCOMPARE(screen->waitForClose(), std::optional(false));
}

void TestOfflineScreen::codeDigits_data()
{
    QTest::addColumn<QString>("digits");
    QTest::newRow("12345678") << "123456";
    QTest::newRow(" 123 456 789") << "123456";
    QTest::newRow("a1-b2") << "12";
    QTest::newRow("١٢٣") << "";
}

void TestOfflineScreen::codeDigits()
{
    QTEST(CustomTools::codeDigits(QString::fromUtf8(QTest::currentDataTag())), "digits");
}

void TestOfflineScreen::logo_data()
{
    QTest::addColumn<int>("width"); // 0: no image
    QTest::addColumn<int>("padding");
    QTest::addColumn<bool>("shown");
    QTest::newRow("image") << 64 << 0 << true;
    QTest::newRow("no image") << 0 << 100 << false;
    QTest::newRow("absent") << 0 << 0 << false;
    QTest::newRow("too wide") << 3000 << 0 << false;
    QTest::newRow("too many bytes") << 64 << 1024 * 1024 << false;
}

void TestOfflineScreen::logo()
{
    QFETCH(int, width);
    QFETCH(int, padding);
    QFETCH(bool, shown);
    const QTemporaryDir folder;
    // The name says nothing about the content.
    const QString path = folder.filePath("logo");
    QFile file(path);
    if (width + padding > 0) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        if (width > 0)
            QVERIFY(QImage(width, 8, QImage::Format_RGB32).save(&file, "PNG"));
        file.write(QByteArray(padding, 'x'));
        file.close();
    }
    dataKey().writeString("CompanyLogo", path);
    QCOMPARE(TotpMethodDataProvider().logoUrl(),
             shown ? QUrl::fromLocalFile(path) : QUrl("qrc:/rsc/Korvex-logo.png"));
}

void TestOfflineScreen::languages()
{
    QTranslator translator;
    InternationalizationController languages(translator);
    QCOMPARE(languages.selectedLanguage(), int(OfflineModeController::English));
    QSignalSpy changed(&languages, &InternationalizationController::selectedLanguageChanged);
    languages.setSelectedLanguage(OfflineModeController::German);
    languages.setSelectedLanguage(OfflineModeController::German);
    languages.setSelectedLanguage(7);
    QCOMPARE(changed.count(), 1);
    // In one process of the sign-in the screen's texts, those of the checks, the built-in ones and
    // the list's all follow; an organisation's own stay.
    dataKey().writeString("HelpPrompt", "Ask Bob");
    const TotpMethodDataProvider data;
    QCOMPARE(TotpTextProvider::signInLabel(), "Anmelden");
    QCOMPARE(
        TotpController(std::make_shared<ScreenResult>()).getValidateResult({}).wholeValidateMessage,
        QStringLiteral("Bitte füllen Sie dieses Feld aus."));
    QCOMPARE(data.protectedBy(), QStringLiteral("Geschützt durch Korvex"));
    QCOMPARE(data.helpPrompt(), "Ask Bob");
    QCOMPARE(languages.translate("Polish"), "Polnisch");
    // A sign-in that begins in German says so.
    QCOMPARE(InternationalizationController(translator).selectedLanguage(),
             int(OfflineModeController::German));
    languages.setSelectedLanguage(OfflineModeController::English);
    QCOMPARE(TotpTextProvider::signInLabel(), "Sign In");
}

void TestOfflineScreen::exitHandler()
{
    clearVerdict();
    const auto tornDown = std::make_shared<ScreenResult>();
    const auto screen = std::make_shared<ScreenResult>();
    startExitHandler(*qApp, tornDown);
    startExitHandler(*qApp, screen);
    // Its verdict is on its way when the screen goes.
    tornDown->store(true);
    tornDown->requestClose();
    const QDeadlineTimer deadline(5000);
    while (tornDown.use_count() > 2 && !deadline.hasExpired()) // one here, one in the queued call
        std::this_thread::yield();
    tornDown->abandon();
    // A wrong code wakes nobody.
    screen->store(false);
    QTRY_COMPARE(tornDown.use_count(), 1);
    QVERIFY(!verdictGiven());

    QTimer::singleShot(0, [&] {
        screen->store(true);
        screen->requestClose();
    });
    QCOMPARE(QApplication::exec(), 1);
    QCOMPARE(m_state.takeLog().last(),
             "User access granted, reason: Correct code for Offline Mode!");

    clearVerdict();
    startExitHandler(*qApp, nullptr);
    QCOMPARE(QApplication::exec(), 1);
    QCOMPARE(m_state.takeLog(),
             QStringList({"[Error] TotpController is null!",
                          "User access granted, reason: Offline mode failure."}));
}

void TestOfflineScreen::screenThatCannotBeBuilt()
{
    // This program has none of the screen's files.
    mainKey().writeString("korvexApiServer", "http://127.0.0.1:1");
    beginSignIn({.user = test::knownAccount()});
    const auto data = userRegistryData();
    QVERIFY(data->key()->writeBool("OfflineAuth", true));
    QVERIFY(otp::storeOtpSecret(data.get(), "GEZDGNBVGY3TQOJQ"));
    QTranslator translator;
    offlineMode().prepare(*qApp, translator);
    clearVerdict();
    KorvexRestAPIClient client;
    QTimer::singleShot(0, [&] { QVERIFY(!Connectivity::checkConnection(client)); });
    QCOMPARE(QApplication::exec(), -1);
    QVERIFY(verdictGiven());
    offlineMode().tearDown();
    const QStringList log = m_state.takeLog();
    QCOMPARE(log.mid(log.size() - 2),
             QStringList({"[Error] Root objects are empty!", "Can't create object for qml!"}));
}

QTEST_MAIN(TestOfflineScreen)
#include "tst_offline_screen.moc"
