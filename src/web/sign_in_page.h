#pragma once

#include <QWebEnginePage>

namespace korvex {

/// The page of the service, kept to what a logon desktop may offer: no certificate error is
/// accepted, no file dialog or second window opens, and only web addresses are navigated to.
/// (Downloads are refused by the profile, which accepts none.)
class SignInPage : public QWebEnginePage
{
    Q_OBJECT

public:
    /// `profile` must outlive the page.
    explicit SignInPage(QWebEngineProfile& profile);

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    bool certificateError(const QWebEngineCertificateError& error) override;
    QStringList chooseFiles(FileSelectionMode mode, const QStringList& oldFiles,
                            const QStringList& acceptedMimeTypes) override;
    QWebEnginePage* createWindow(WebWindowType type) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int lineNumber, const QString& sourceId) override;
};

} // namespace korvex
