#include "entry/sign_in.h"

#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/user_folder.h"
#include "core/verdict.h"
#include "entry/application.h"
#include "entry/language.h"
#include "offline_mode/offline_mode_controller.h"
#include "platform/process.h"
#include "web/main_window.h"

#include <QApplication>
#include <QDir>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QTimer>
#include <QTranslator>
#include <atomic>
#include <cstdio>
#include <exception>

namespace korvex {

namespace {

constexpr int kDenied = 0;

std::atomic<bool> threadChosen = false;
// Not compared by thread id: a later thread may get the same one.
thread_local bool isGuiThread = false;
bool busy = false; // of the GUI thread alone

/// Whether the call may run: the first call makes its thread the GUI thread, and a call from
/// within a sign-in or from another thread cannot be served.
bool mayRun()
{
    if (!threadChosen.exchange(true))
        isGuiThread = true;
    return isGuiThread && !busy;
}

int runEventLoop(QApplication& application, QTranslator& translator)
{
    MainWindow window;
    offline_mode::offlineMode().prepare(application, translator);
    // Also when something throws: the screen's holder outlives the translator.
    const auto screenEnds = qScopeGuard([] { offline_mode::offlineMode().tearDown(); });
    QTimer::singleShot(0, &window, &MainWindow::start);
    return application.exec();
}

int runSignIn(const QString& json)
{
    QApplication& application = hostedApplication();
    clearVerdict();

    QTranslator translator;
    installLanguage(translator);
    QCoreApplication::setOrganizationName(QObject::tr("Korvex for Windows"));
    QCoreApplication::setApplicationName(QObject::tr("Korvex for Windows"));

    beginSignIn(parseLogonInput(json));
    QDir(userStorageDirectory()).mkpath(QStringLiteral("."));

    const int result = runEventLoop(application, translator);
    logger().log(1, QStringLiteral("Exiting with result: %1").arg(result));
    return result;
}

void logFault(const std::exception& fault) noexcept
{
    try {
        logger().logError(QStringLiteral("Sign-in failed: ") +
                          QString::fromLocal8Bit(fault.what()));
    } catch (const std::exception&) {
        // For example no memory for a log line. The call denies all the same.
        std::fputs("korvexLogin: a sign-in failed, and so did its log line\n", stderr);
    }
}

} // namespace

int executeSignIn(const wchar_t* json) noexcept
{
    try {
        platform::reserveStandardStreams();
        if (!mayRun()) {
            logger().logError(QStringLiteral("Sign-in refused: the call comes from another thread "
                                             "than the first, or from within a sign-in"));
            return kDenied;
        }
        const QScopedValueRollback running(busy, true);
        return runSignIn(json ? QString::fromWCharArray(json) : QString());
    } catch (const std::exception& fault) {
        logFault(fault);
        return kDenied;
    }
}

} // namespace korvex
