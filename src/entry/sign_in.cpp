#include "entry/sign_in.h"

#include "core/log.h"
#include "core/logon_input.h"
#include "core/user_folder.h"
#include "core/verdict.h"
#include "entry/application.h"
#include "entry/language.h"
#include "offline_mode/offline_mode_controller.h"
#include "platform/process.h"
#include "web/main_window.h"

#include <QApplication>
#include <QDir>
#include <QJsonDocument>
#include <QScopedValueRollback>
#include <QTimer>
#include <QTranslator>
#include <atomic>
#include <exception>

namespace korvex {

namespace {

constexpr int kDenied = 0;

std::atomic<bool> threadChosen = false;
// Not the thread's id, which a later thread may get again.
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

int runSignIn(const QString& json)
{
    QApplication& application = hostedApplication();
    clearVerdict();

    QTranslator translator;
    installLanguage(translator);
    QCoreApplication::setOrganizationName(QObject::tr("Korvex for Windows"));
    QCoreApplication::setApplicationName(QObject::tr("Korvex for Windows"));

    const QJsonDocument input = parseLogonInput(json);
    beginSignIn(input);
    QDir(userStorageDirectory()).mkpath(QStringLiteral("."));

    offline_mode::offlineMode().prepare(application, translator);
    MainWindow window;
    QTimer::singleShot(0, &window, [&window, &input] { window.start(input); });
    const int result = application.exec();
    offline_mode::offlineMode().tearDown();
    logger().log(1, QStringLiteral("Exiting with result: %1").arg(result));
    return result;
}

} // namespace

int executeSignIn(const wchar_t* json)
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
        logger().logError(QStringLiteral("Sign-in failed: ") +
                          QString::fromLocal8Bit(fault.what()));
        return kDenied;
    }
}

} // namespace korvex
