#include "web/sign_in_page.h"

#include "core/log.h"

#include <QWebEngineCertificateError>

namespace korvex {

SignInPage::SignInPage(QWebEngineProfile& profile)
    : QWebEnginePage(&profile)
{}

bool SignInPage::acceptNavigationRequest(const QUrl& url, NavigationType, bool)
{
    static const QStringList schemes = {QStringLiteral("https"), QStringLiteral("http"),
                                        QStringLiteral("about"), QStringLiteral("data"),
                                        QStringLiteral("blob")};
    if (schemes.contains(url.scheme()))
        return true;
    logger().logWarning(0, QStringLiteral("Navigation refused: ") + url.toDisplayString());
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

void SignInPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString& message,
                                          int lineNumber, const QString& sourceId)
{
    logger().log(3, QStringLiteral("Web console: %1 (%2:%3)")
                        .arg(message, sourceId, QString::number(lineNumber)));
}

} // namespace korvex
