#include "web/page_loader.h"

#include "core/log.h"
#include "rest/service_settings.h"

#include <QApplication>
#include <QPointer>
#include <QWebEngineHistory>
#include <QWebEngineScript>
#include <QWebEngineView>
#include <algorithm>
#include <chrono>

namespace korvex {

namespace {

using namespace std::chrono_literals;

constexpr auto kRetryPause = 500ms;
constexpr auto kLookPause = 50ms;
constexpr auto kLookAgain = 1s;  // a document that is replaced meanwhile may not answer
constexpr auto kAnswerWait = 2s; // a page whose script never yields does not answer

constexpr char kIsUsable[] = R"(
(function() {
  const panels = document.querySelectorAll(".panel");
  return document.readyState !== "loading" && panels.length === 1
      && panels[0].offsetWidth > 0 && panels[0].offsetHeight > 0;
})();
)";

/// Whether the page waits for the user, who answers a box of its script.
bool boxIsOpen()
{
    return QApplication::activeModalWidget() != nullptr;
}

} // namespace

PageLoader::PageLoader(QWebEngineView& view)
    : m_view(view)
{
    for (QTimer* const timer : {&m_stall, &m_answerWait, &m_panelWait, &m_nextLook, &m_retryPause})
        timer->setSingleShot(true);
    m_stall.setInterval(requestTimeout());
    m_answerWait.setInterval(std::min<std::chrono::milliseconds>(
        kAnswerWait, std::chrono::milliseconds(requestTimeout())));
    m_panelWait.setInterval(requestTimeout());
    m_retryPause.setInterval(kRetryPause);
    connect(&m_stall, &QTimer::timeout, this, &PageLoader::onStalled);
    for (QTimer* const timer : {&m_answerWait, &m_panelWait})
        connect(timer, &QTimer::timeout, this, [this, timer] { onWaited(*timer); });
    connect(&m_nextLook, &QTimer::timeout, this, &PageLoader::lookForPanel);
    connect(&m_retryPause, &QTimer::timeout, this, &PageLoader::tryAgain);
    connect(&m_view, &QWebEngineView::loadStarted, this, &PageLoader::onLoadStarted);
    connect(&m_view, &QWebEngineView::loadFinished, this, &PageLoader::onLoadFinished);
    connect(&m_view, &QWebEngineView::loadProgress, this, [this] {
        if (m_stall.isActive())
            m_stall.start();
    });
    connect(m_view.page(), &QWebEnginePage::renderProcessTerminated, this,
            &PageLoader::onProcessEnded);
}

void PageLoader::load(const QUrl& url)
{
    m_stall.start();
    m_view.setUrl(url);
}

void PageLoader::pageShown()
{
    stopTimers();
    m_pending = false;
}

void PageLoader::finish()
{
    m_over = true;
    stopTimers();
}

void PageLoader::onLoadStarted()
{
    m_loading = true;
    if (m_over || !m_pending || m_retryPause.isActive())
        return;
    // Not the wait for the panel: a page that loads itself again and again has to end, too.
    for (QTimer* const timer : {&m_stall, &m_answerWait, &m_nextLook})
        timer->stop();
    m_stall.start();
}

void PageLoader::onLoadFinished(bool success)
{
    m_loading = false;
    if (m_over)
        return;
    if (!m_pending) {
        if (success)
            emit finished(true);
        return;
    }
    m_stall.stop();
    m_answerWait.stop();
    if (!success) {
        // The end of a load that was given up tells nothing new.
        if (!m_retryPause.isActive())
            retry();
        return;
    }
    m_retryPause.stop();
    if (!m_panelWait.isActive())
        m_panelWait.start();
    lookForPanel();
}

void PageLoader::onStalled()
{
    if (boxIsOpen()) {
        m_stall.start();
        return;
    }
    // Without a first document there is nothing to ask, and a script would make the engine forget
    // the address that it is about to load.
    if (m_view.history()->count() == 0) {
        giveUp();
        return;
    }
    m_answerWait.start();
    lookForPanel();
}

void PageLoader::onWaited(QTimer& timer)
{
    if (boxIsOpen())
        timer.start();
    else
        giveUp();
}

void PageLoader::onProcessEnded()
{
    m_loading = false;
    if (m_over)
        return;
    m_pending = true;
    if (!m_retryPause.isActive())
        retry();
}

void PageLoader::lookForPanel()
{
    // A page that is destroyed answers its pending scripts with nothing.
    const auto answered = [guard = QPointer(this)](const QVariant& usable) {
        if (!guard || !guard->m_pending || guard->m_over)
            return;
        if (usable.toBool())
            guard->onUsable();
        else if (guard->m_answerWait.isActive())
            guard->giveUp();
        else if (guard->m_panelWait.isActive())
            guard->m_nextLook.start(kLookPause);
    };
    if (m_panelWait.isActive())
        m_nextLook.start(kLookAgain);
    m_view.page()->runJavaScript(QString::fromLatin1(kIsUsable), QWebEngineScript::ApplicationWorld,
                                 answered);
}

void PageLoader::onUsable()
{
    stopTimers();
    m_panelWait.start();
    emit finished(true);
}

void PageLoader::giveUp()
{
    retry();
    m_loading = false;
    m_view.stop();
}

void PageLoader::retry()
{
    stopTimers();
    m_retryPause.start();
}

void PageLoader::tryAgain()
{
    // The page may have led on: another load takes the place of the one that failed.
    if (m_loading) {
        m_stall.start();
        return;
    }
    if (m_retriesLeft-- <= 0) {
        m_over = true;
        emit finished(false);
        return;
    }
    logger().logWarning(0, QStringLiteral("Failed to load view: ") + m_view.url().toString());
    m_stall.start();
    m_view.reload();
}

void PageLoader::stopTimers()
{
    for (QTimer* const timer : {&m_stall, &m_answerWait, &m_panelWait, &m_nextLook, &m_retryPause})
        timer->stop();
}

} // namespace korvex
