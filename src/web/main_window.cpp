#include "web/main_window.h"

#include "api/transaction.h"
#include "core/current_sign_in.h"
#include "core/log.h"
#include "core/message_box.h"
#include "core/secret.h"
#include "core/settings.h"
#include "core/user_folder.h"
#include "core/verdict.h"
#include "platform/foreground.h"
#include "platform/process.h"
#include "web/accept_language.h"
#include "web/browser_interceptor.h"
#include "web/contact_notice.h"
#include "web/page_loader.h"
#include "web/sign_in_page.h"
#include "web/web_js_event_dispatcher.h"
#include "web/window_fitter.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QIcon>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QScreen>
#include <QTimer>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineView>

namespace korvex {

namespace {

// The same for every engine version, so that the service sees one kind of browser.
constexpr char kUserAgent[] =
    "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, "
    "like Gecko) Chrome/71.0.3578.80 Safari/537.36";

} // namespace

MainWindow::MainWindow() = default;

MainWindow::~MainWindow()
{
    // Before the wait for the cookies.
    hide();
    if (m_notice)
        m_notice->hide();
    // The view is owned here; the window must not delete it as its central widget too.
    if (m_view)
        takeCentralWidget();
}

void MainWindow::start()
{
    logger().log(1, QStringLiteral("Starting Korvex MFA Login..."));
    if (!verifyConfiguration())
        return;
    setUpWindow();
    installProxy();
    createTransaction();
    m_transaction->start();
}

bool MainWindow::verifyConfiguration()
{
    const QString systemToken = readString(Setting::SystemToken);
    QString secretKey = readString(Setting::SecretKey);
    const bool missing = systemToken.isEmpty() || secretKey.isEmpty();
    const bool equal = systemToken == secretKey;
    wipe(secretKey);
    if (!missing && !equal) {
        logger().log(1, QStringLiteral("Registry configuration verified"));
        return true;
    }
    logger().logError(
        missing ? QStringLiteral("Value of 'systemToken' or 'secretKey' is not defined")
                : QStringLiteral("Value of 'systemToken' and 'secretKey' can not be equal"));
    showMessageBox(tr("Incorrect Korvex API credentials."));
    // Deliberate: an installation whose configuration is not finished lets the user in.
    grant(QStringLiteral("Invalid configuration"));
    return false;
}

void MainWindow::setUpWindow()
{
    setWindowIcon(QIcon(QStringLiteral(":/rsc/Korvex.png")));
    setWindowFlags(Qt::MSWindowsFixedSizeDialogHint | Qt::BypassWindowManagerHint |
                   Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint);
    setWindowFlag(Qt::WindowStaysOnTopHint);
    setGeometry(screen()->availableGeometry());
    m_notice = std::make_unique<ContactNotice>();
    m_notice->setWindowIcon(windowIcon());
    connect(m_notice.get(), &ContactNotice::closeRequested, this, &QWidget::close);
}

void MainWindow::installProxy()
{
    if (const auto proxy = configuredProxy())
        m_proxy.emplace(*proxy);
}

void MainWindow::createProfile()
{
    m_interceptor = std::make_unique<BrowserInterceptor>();
    m_profile = std::make_unique<QWebEngineProfile>(QStringLiteral("KorvexProfile"));
    m_profile->setHttpAcceptLanguage(
        QString::fromLatin1(acceptLanguage(QLocale::system().uiLanguages())));
    m_profile->setHttpUserAgent(QLatin1String(kUserAgent));
    m_profile->setPersistentCookiesPolicy(QWebEngineProfile::AllowPersistentCookies);
    const QString storage = webStorageDirectory();
    m_cookieFlush.emplace(storage);
    m_profile->setCachePath(storage);
    m_profile->setPersistentStoragePath(storage);
    m_profile->setUrlRequestInterceptor(m_interceptor.get());
}

void MainWindow::createPage()
{
    m_page = std::make_unique<SignInPage>(*m_profile);
    // Nothing is connected to its events until sign-ins can use cards.
    m_dispatcher = std::make_unique<WebJsEventDispatcher>(*m_page);
}

void MainWindow::createView()
{
    m_view = std::make_unique<QWebEngineView>();
    m_view->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    m_view->setContextMenuPolicy(Qt::NoContextMenu);
    m_view->setAttribute(Qt::WA_TransparentForMouseEvents, false);
    m_view->setAttribute(Qt::WA_TranslucentBackground, false);
    m_view->setPage(m_page.get());
    m_view->setAcceptDrops(false);
    m_view->settings()->setUnknownUrlSchemePolicy(QWebEngineSettings::DisallowUnknownUrlSchemes);
    m_view->settings()->setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false);
    setCentralWidget(m_view.get());
    m_fitter = std::make_unique<WindowFitter>(*this, *m_view);
    connect(m_fitter.get(), &WindowFitter::fitted, this, &MainWindow::showFitted);
}

void MainWindow::createDeveloperTools()
{
    m_developerTools = std::make_unique<QWebEngineView>();
    m_developerTools->setWindowIcon(windowIcon());
    m_developerTools->setSizePolicy(m_view->sizePolicy());
    m_developerTools->setWindowFlags(m_view->windowFlags());
    m_page->setDevToolsPage(m_developerTools->page());
    m_page->triggerAction(QWebEnginePage::InspectElement);
    m_developerTools->show();
}

void MainWindow::watchView()
{
    m_loader = std::make_unique<PageLoader>(*m_view);
    connect(m_loader.get(), &PageLoader::finished, this, &MainWindow::loadFinished);
    connect(m_page.get(), &QWebEnginePage::contentsSizeChanged, this,
            &MainWindow::onContentSizeChanged);
    connect(m_view.get(), &QWebEngineView::titleChanged, this, &MainWindow::onTitleChanged);
}

void MainWindow::onServiceReachable()
{
    // Not before: somebody who needs the offline screen waits for none of this.
    if (logonInput().ip.isEmpty())
        m_revocation.emplace(readNumber(Setting::RevokeRememberDevicePolicy));
    // Any profile starts the engine. This one keeps nothing on disk and is made while the next
    // request travels.
    QTimer::singleShot(0, this, [this] {
        if (!verdictGiven())
            m_warmUp = std::make_unique<QWebEngineProfile>();
    });
}

void MainWindow::startWebEngine()
{
    createProfile();
    createPage();
    createView();
    watchView();
    if (readBool(Setting::DebugKorvexRequests))
        createDeveloperTools();
}

void MainWindow::createTransaction()
{
    m_transaction = std::make_unique<Transaction>(logonInput());
    connect(qApp, &QCoreApplication::aboutToQuit, this, &MainWindow::cleanUp);
    connect(m_transaction.get(), &Transaction::serviceReachable, this,
            &MainWindow::onServiceReachable);
    connect(m_transaction.get(), SIGNAL(showWebPage(QUrl)), this, SLOT(updateWebView(QUrl)));
}

void MainWindow::cleanUp()
{
    logger().log(1, QStringLiteral("Cleaning up..."));
}

void MainWindow::updateWebView(QUrl url)
{
    logger().log(1, QStringLiteral("Invoke updateWebView, url: ") + url.toString());
    if (m_revocation)
        m_revocation->finish();
    if (verdictGiven())
        return;
    startWebEngine();
    // The page is laid out and drawn without being seen, until the window has the panel's size.
    setAttribute(Qt::WA_DontShowOnScreen);
    show();
    m_loader->load(url);
    m_view->setFocus(Qt::OtherFocusReason);
}

void MainWindow::loadFinished(bool success)
{
    if (!success) {
        giveUpLoading();
        return;
    }
    m_pageUsable = true;
    m_fitter->fit();
}

void MainWindow::showFitted()
{
    m_loader->pageShown();
    if (!testAttribute(Qt::WA_DontShowOnScreen))
        return;
    hide();
    setAttribute(Qt::WA_DontShowOnScreen, false);
    show();
    platform::bringToForeground(winId());
}

void MainWindow::onContentSizeChanged(QSizeF)
{
    if (m_pageUsable)
        m_fitter->scheduleFit();
}

void MainWindow::giveUpLoading()
{
    if (failModeIsBypass())
        grant(QStringLiteral("Application exception, FailMode bypass"));
    else
        deny(QStringLiteral("Application exception"));
}

void MainWindow::onTitleChanged(const QString& title)
{
    logger().log(2, QStringLiteral("Web title: ") + title);
    if (!title.contains(QLatin1String("token")))
        return;
    logger().log(1, QStringLiteral("Transaction token received"));
    // From here on the page's load cannot decide the sign-in.
    m_loader->finish();
    // A box would hold the verdict back until somebody closes it.
    m_page->refuseBoxes();
    // A title that is not JSON gives an empty token. The service judges it.
    const QJsonDocument message = QJsonDocument::fromJson(title.toUtf8());
    m_transaction->credentials(message[QLatin1String("token")].toString());
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    event->accept();
    hide();
    logger().log(0, QStringLiteral("Close requested, terminating..."));
    // Not a denial by the event loop: a closed window deliberately ends the host process.
    platform::terminateProcess(0);
}

} // namespace korvex
