#include "web/sign_in_page.h"

#include "core/log.h"

#include <QWebEngineCertificateError>

namespace korvex {

SignInPage::SignInPage(QWebEngineProfile& profile)
    : QWebEnginePage(&profile)
{}

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
}

bool SignInPage::javaScriptConfirm(const QUrl&, const QString& message)
{
    logger().log(3, QStringLiteral("Web question refused: ") + message);
    return false;
}

bool SignInPage::javaScriptPrompt(const QUrl&, const QString& message, const QString&, QString*)
{
    logger().log(3, QStringLiteral("Web question refused: ") + message);
    return false;
}

void SignInPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString& message,
                                          int lineNumber, const QString& sourceId)
{
    logger().log(3, QStringLiteral("Web console: %1 (%2:%3)")
                        .arg(message, sourceId, QString::number(lineNumber)));
}

} // namespace korvex
