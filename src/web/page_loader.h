#pragma once

#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QWebEnginePage>

class QWebEngineView;

namespace korvex {

/// Loads the service's page until it is usable: its document is parsed and has one panel of a size.
///
/// A load that fails, a page without a panel and the end of the engine's process are tried again,
/// eleven tries in all, half a second apart. A load that stalls because a part of the page does not
/// come is none of these as long as the page is usable. GUI thread.
class PageLoader : public QObject
{
    Q_OBJECT

public:
    /// `view` outlives the object. A load stalls after RequestTimeout without progress; a panel may
    /// take as long after the load.
    explicit PageLoader(QWebEngineView& view);

    void load(const QUrl& url);

    /// The page that finished() told of is shown. Until then it is watched like one without a
    /// panel.
    void pageShown();

    /// Tries no more, whatever happens to the page.
    void finish();

signals:
    /// True: a usable page is there; also for later ones, when the first leads on. False: no try is
    /// left.
    void finished(bool success);

private:
    void onLoadStarted();
    void onLoadFinished(bool success);
    void onStalled();
    void onWaited(QTimer& timer);
    void onProcessEnded();
    void lookForPanel();
    void onUsable();
    void giveUp();
    void retry();
    void tryAgain();
    void stopTimers();

    QWebEngineView& m_view;
    QTimer m_stall;      ///< of a load without progress
    QTimer m_answerWait; ///< of a stalled page that is asked for its panel
    QTimer m_panelWait;  ///< of a loaded page without a panel
    QTimer m_nextLook;   ///< for the panel
    QTimer m_retryPause;
    bool m_loading = false;
    bool m_pending = true; ///< no usable page is shown
    bool m_over = false;
    int m_retriesLeft = 10;
};

} // namespace korvex
