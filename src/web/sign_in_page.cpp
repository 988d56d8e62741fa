#include "web/sign_in_page.h"

#include "core/log.h"
#include "web/page_dialog.h"

#include <QWebEngineCertificateError>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>

namespace korvex {

namespace {

/// The first listener of a page: nothing that the page registers can ask the user to stay on it.
constexpr char kNoUnloadQuestion[] =
    "window.addEventListener('beforeunload', event => event.stopImmediatePropagation(), true);";

} // namespace

SignInPage::SignInPage(QWebEngineProfile& profile)
    : QWebEnginePage(&profile)
{
    QWebEngineScript script;
    script.setSourceCode(QString::fromLatin1(kNoUnloadQuestion));
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::MainWorld);
    script.setRunsOnSubFrames(true);
    scripts().insert(script);
}

bool SignInPage::acceptNavigationRequest(const QUrl& url, NavigationType, bool isMainFrame)
{
    const QString scheme = url.scheme();
    if (scheme == QLatin1String("https") || scheme == QLatin1String("http") ||
        scheme == QLatin1String("about"))
        return true;
    if (!isMainFrame && (scheme == QLatin1String("data") || scheme == QLatin1String("blob")))
        return true;
    // Not at level 0: a page could fill the log.
    logger().logWarning(1, QStringLiteral("Navigation refused: ") + url.toDisplayString());
    return false;
}

bool SignInPage::certificateError(const QWebEngineCertificateError& error)
{
    logger().logWarning(0, QStringLiteral("Certificate refused: %1, URL: %2")
                               .arg(error.errorDescription(), error.url().toDisplayString()));
    return false;
}

QStringList SignInPage::chooseFiles(FileSelectionMode, const QStringList&, const QStringList&)
{
    return {};
}

QWebEnginePage* SignInPage::createWindow(WebWindowType)
{
    return nullptr;
}

void SignInPage::javaScriptAlert(const QUrl&, const QString& message)
{
    logger().log(3, QStringLiteral("Web alert: ") + message);
    if (mayShowBox())
        PageDialog::alert(view(), message);
}

bool SignInPage::javaScriptConfirm(const QUrl&, const QString& message)
{
    logger().log(3, QStringLiteral("Web question: ") + message);
    return mayShowBox() && PageDialog::confirm(view(), message);
}

bool SignInPage::javaScriptPrompt(const QUrl&, const QString& message, const QString& proposal,
                                  QString* answer)
{
    logger().log(3, QStringLiteral("Web question: ") + message);
    const auto typed = mayShowBox() ? PageDialog::prompt(view(), message, proposal) : std::nullopt;
    *answer = typed.value_or(QString());
    return typed.has_value();
}

bool SignInPage::mayShowBox()
{
    if (m_boxesLeft == 0)
        return false;
    --m_boxesLeft;
    return true;
}

void SignInPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString& message,
                                          int lineNumber, const QString& sourceId)
{
    logger().log(3, QStringLiteral("Web console: %1 (%2:%3)")
                        .arg(message, sourceId, QString::number(lineNumber)));
}

} // namespace korvex
