#include "api/connectivity.h"
#include "core/process_state.h"
#include "core/verdict.h"
#include "offline_mode/custom_tools.h"
#include "offline_mode/exit_handler.h"
#include "offline_mode/internationalization_controller.h"
#include "offline_mode/offline_mode_controller.h"
#include "offline_mode/screen_result.h"
#include "offline_mode/totp_controller.h"
#include "offline_mode/totp_method_data_provider.h"
#include "offline_mode/totp_text_provider.h"
#include "otp/offline_secret.h"
#include "rest/rest_client.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDeadlineTimer>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTranslator>
#include <QtTest>
#include <thread>

using namespace korvex;
using namespace korvex::offline_mode;

namespace {

QStringList textsIn(const QQuickItem& item)
{
    QStringList texts;
    if (item.isVisible() && item.inherits("QQuickText"))
        texts << item.property("text").toString();
    for (const QQuickItem* const child : item.childItems())
        texts << textsIn(*child);
    return texts;
}

} // namespace

class TestOfflineScreen : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_state.startAnew(); }
    // First, because a window would leave events behind and one of its own is waited for.
    void exitHandler();
    void codes();
    void textsOnScreen();
    void logo();
    void languages();
    void screenThatCannotBeBuilt();

private:
    test::ProcessState m_state;
};

void TestOfflineScreen::codes()
{
    const TotpController controller(std::make_shared<ScreenResult>());
    const char* const sixDigits = "The code has six digits.";
    for (const auto& [code, digits, message] :
         {std::tuple("123456", "123456", "The code has the correct format!"),
          {"", "", "Please fill out this field."},
          {"12345", "12345", sixDigits},
          {" a/123:-4567", "123456", sixDigits},
          {"١٢٣٤٥٦", "", sixDigits}}) {
        QCOMPARE(CustomTools::codeDigits(code), digits);
        QCOMPARE(controller.getValidateResult(code).wholeValidateMessage, message);
    }
}

void TestOfflineScreen::textsOnScreen()
{
    mainKey().writeNumber("OfflineTOTPMaxAttempts", 2);
    mainKey().writeNumber("OfflineTOTPTimeBetweenAttempts", 1000);
    QTranslator translator;
    offlineMode().prepare(*qApp, translator);
    QVERIFY(offlineMode().show());
    auto* const window = qobject_cast<QQuickWindow*>(QGuiApplication::topLevelWindows().value(0));
    QVERIFY(window && QTest::qWaitForWindowExposed(window));
    const auto enter = [window](const char* code) {
        while (*code != 0)
            QTest::keyClick(window, *code++);
        return textsIn(*window->contentItem());
    };
    const QString wrong = "Hmm, that's not the right code. Try again.";
    const QRegularExpression wait("^Too Many Attempts\\.\nYou can try again in \\d{3,4} s\\.$");
    QVERIFY(enter("000000").contains(wrong));
    QVERIFY(!enter("1").contains(wrong)); // the next code has been begun
    QCOMPARE(enter("00000000000").filter(wait).size(), 1);
    mainKey().writeNumber("OfflineTOTPTimeBetweenAttempts", 0);
    QTRY_VERIFY(enter("").filter(QRegularExpression("Attempts|again")).isEmpty());
    QVERIFY(enter("000000").contains(wrong));
    offlineMode().tearDown();
}

void TestOfflineScreen::logo()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("logo"); // a name that says nothing about the content
    dataKey().writeString("CompanyLogo", path);
    const QUrl builtIn("qrc:/rsc/Korvex-logo.png");
    QCOMPARE(TotpMethodDataProvider().logoUrl(), builtIn);
    QVERIFY(QImage(64, 8, QImage::Format_RGB32).save(path, "PNG"));
    QCOMPARE(TotpMethodDataProvider().logoUrl(), QUrl::fromLocalFile(path));
    QVERIFY(QFile::resize(path, 1024 * 1024 + 1)); // too large, although its front is an image
    QCOMPARE(TotpMethodDataProvider().logoUrl(), builtIn);
}

void TestOfflineScreen::languages()
{
    QTranslator translator;
    InternationalizationController languages(translator);
    QCOMPARE(languages.selectedLanguage(), int(OfflineModeController::English));
    QSignalSpy changed(&languages, &InternationalizationController::selectedLanguageChanged);
    const int german = OfflineModeController::German;
    for (const int language : {german, german, 7})
        languages.setSelectedLanguage(language);
    QCOMPARE(changed.count(), 1);
    // The screen's texts, the built-in ones and the list's all follow; an organisation's own stay.
    dataKey().writeString("HelpPrompt", "Ask Bob");
    QCOMPARE(TotpTextProvider::signInLabel(), "Anmelden");
    QCOMPARE(TotpMethodDataProvider().protectedBy(), QStringLiteral("Geschützt durch Korvex"));
    QCOMPARE(TotpMethodDataProvider().helpPrompt(), "Ask Bob");
    QCOMPARE(languages.translate("Polish"), "Polnisch");
    // A sign-in that begins in German says so.
    QCOMPARE(InternationalizationController(translator).selectedLanguage(), german);
}

void TestOfflineScreen::exitHandler()
{
    // The verdict is on its way when the screen goes.
    clearVerdict();
    const auto tornDown = std::make_shared<ScreenResult>();
    QCoreApplication::processEvents();
    startExitHandler(*qApp, tornDown);
    tornDown->store(true);
    tornDown->requestClose();
    const QDeadlineTimer deadline(5000);
    while (!QAbstractEventDispatcher::instance()->hasPendingEvents() && !deadline.hasExpired())
        std::this_thread::yield();
    tornDown->abandon();
    QTRY_COMPARE(tornDown.use_count(), 1);
    QVERIFY(!verdictGiven());

    startExitHandler(*qApp, nullptr);
    QCOMPARE(QApplication::exec(), 1);
    QCOMPARE(m_state.takeLog(),
             QStringList({"[Error] TotpController is null!",
                          "User access granted, reason: Offline mode failure."}));
}

void TestOfflineScreen::screenThatCannotBeBuilt()
{
    Q_CLEANUP_RESOURCE(offline_mode);
    mainKey().writeString("korvexApiServer", "http://127.0.0.1:1");
    beginSignIn({.user = test::knownAccount()});
    const auto data = userRegistryData();
    QVERIFY(data->key()->writeNumber("OfflineAuth", 1));
    QVERIFY(otp::storeOtpSecret(data.get(), "GEZDGNBVGY3TQOJQ"));
    QTranslator translator;
    offlineMode().prepare(*qApp, translator);
    clearVerdict();
    KorvexRestAPIClient client;
    QTimer::singleShot(0, [&] { QVERIFY(!Connectivity::checkConnection(client)); });
    QCOMPARE(QApplication::exec(), -1);
    QVERIFY(verdictGiven());
    offlineMode().tearDown();
    Q_INIT_RESOURCE(offline_mode);
    QCOMPARE(m_state.takeLog().filter(QRegularExpression("empty|qml")),
             QStringList({"[Error] Root objects are empty!", "Can't create object for qml!"}));
}

QTEST_MAIN(TestOfflineScreen)
#include "tst_offline_screen.moc"
