#pragma once

#include <QWebEnginePage>

namespace korvex {

/// The page of the service, restricted to what a logon desktop may offer: certificate errors are
/// refused, no second window and no file dialog opens, no page asks whether it may be left, and the
/// page stays on web addresses. (The profile refuses downloads.)
class SignInPage : public QWebEnginePage
{
    Q_OBJECT

public:
    /// `profile` must outlive the page.
    explicit SignInPage(QWebEngineProfile& profile);

    /// From now on no box of the page's script is shown; its questions are refused.
    void refuseBoxes() { m_boxesLeft = 0; }

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    bool certificateError(const QWebEngineCertificateError& error) override;
    QStringList chooseFiles(FileSelectionMode mode, const QStringList& oldFiles,
                            const QStringList& acceptedMimeTypes) override;
    QWebEnginePage* createWindow(WebWindowType type) override;
    void javaScriptAlert(const QUrl& origin, const QString& message) override;
    bool javaScriptConfirm(const QUrl& origin, const QString& message) override;
    bool javaScriptPrompt(const QUrl& origin, const QString& message, const QString& proposal,
                          QString* answer) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message,
                                  int lineNumber, const QString& sourceId) override;

private:
    bool mayShowBox();

    int m_boxesLeft = 20; ///< a page that asks without end could not be closed
};

} // namespace korvex
