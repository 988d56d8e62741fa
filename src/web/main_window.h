#pragma once

#include "context/proxy_settings.h"
#include "context/remember_device.h"
#include "web/cookie_flush.h"

#include <QMainWindow>
#include <QSizeF>
#include <QString>
#include <QUrl>
#include <memory>
#include <optional>

class QWebEngineProfile;
class QWebEngineView;

namespace korvex {

class BrowserInterceptor;
class ContactNotice;
class PageLoader;
class SignInPage;
class Transaction;
class WebJsEventDispatcher;
class WindowFitter;

/// The one top-level window of a sign-in: the service's page in a web view, and the transaction
/// behind it. Hidden until a page is there and the window has its size. Closing it ends the whole
/// process at once.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    /// Checks the configuration and runs the transaction up to its page, for which it starts the
    /// web engine. Needs the event loop, which a verdict ends.
    void start();

signals:
    /// Part of the window's interface; the library itself never emits it.
    void postCredential(QString accessToken);

public slots:
    void cleanUp();
    void updateWebView(QUrl url);
    void loadFinished(bool success);
    void onContentSizeChanged(QSizeF size);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    bool verifyConfiguration();
    void setUpWindow();
    void installProxy();
    void onServiceReachable();
    void startWebEngine();
    void createProfile();
    void createPage();
    void createView();
    void watchView();
    void createDeveloperTools();
    void createTransaction();
    void showFitted();
    void giveUpLoading();
    void onTitleChanged(const QString& title);

    // Destroyed from the last to the first: the profile outlives its page, the proxy both.
    std::optional<ApplicationProxy> m_proxy;
    std::unique_ptr<ContactNotice> m_notice;
    std::optional<DeviceRevocation> m_revocation;
    std::optional<CookieFlush> m_cookieFlush;
    std::unique_ptr<QWebEngineProfile> m_warmUp; ///< starts the engine before it is needed
    std::unique_ptr<BrowserInterceptor> m_interceptor;
    std::unique_ptr<QWebEngineProfile> m_profile;
    std::unique_ptr<SignInPage> m_page;
    std::unique_ptr<WebJsEventDispatcher> m_dispatcher;
    std::unique_ptr<QWebEngineView> m_developerTools;
    std::unique_ptr<Transaction> m_transaction;
    std::unique_ptr<QWebEngineView> m_view;
    std::unique_ptr<WindowFitter> m_fitter;
    std::unique_ptr<PageLoader> m_loader;
    bool m_pageUsable = false; ///< a page has been there that the window can be fitted to
};

} // namespace korvex
