#include "web/page_loader.h"

#include "core/log.h"
#include "rest/service_settings.h"

#include <QWebEngineView>
#include <chrono>

namespace korvex {

namespace {

constexpr std::chrono::milliseconds kRetryDelay{500};

} // namespace

PageLoader::PageLoader(QWebEngineView& view)
    : m_view(view)
{
    m_stallTimer.setSingleShot(true);
    m_stallTimer.setInterval(requestTimeout());
    connect(&m_stallTimer, &QTimer::timeout, this, &PageLoader::onStalled);
    connect(&m_view, &QWebEngineView::loadProgress, this, [this] {
        if (m_firstLoadPending)
            m_stallTimer.start();
    });
    connect(&m_view, &QWebEngineView::loadFinished, this, &PageLoader::onLoadFinished);
}

void PageLoader::load(const QUrl& url)
{
    m_stallTimer.start();
    m_view.setUrl(url);
}

void PageLoader::finish()
{
    m_firstLoadPending = false;
    m_stallTimer.stop();
}

void PageLoader::onLoadFinished(bool success)
{
    if (success) {
        finish();
        emit finished(true);
    } else if (m_firstLoadPending) {
        retry();
    }
}

void PageLoader::onStalled()
{
    // A load that is stopped reports that it failed; a page whose script never yields does not.
    if (m_stopRequested) {
        retry();
        return;
    }
    m_stopRequested = true;
    m_stallTimer.start();
    m_view.stop();
}

void PageLoader::retry()
{
    m_stallTimer.stop();
    m_stopRequested = false;
    if (m_retriesLeft-- <= 0) {
        emit finished(false);
        return;
    }
    logger().logWarning(0, QStringLiteral("Failed to load view: ") + m_view.url().toString());
    QTimer::singleShot(kRetryDelay, this, [this] {
        if (!m_firstLoadPending)
            return;
        m_stallTimer.start();
        m_view.reload();
    });
}

} // namespace korvex
