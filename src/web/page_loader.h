#pragma once

#include <QObject>
#include <QTimer>
#include <QUrl>

class QWebEngineView;

namespace korvex {

/// Loads the service's page. A load that fails or stalls is tried again, eleven tries in all, half
/// a second apart. GUI thread.
class PageLoader : public QObject
{
    Q_OBJECT

public:
    /// `view` outlives the object. A load stalls after RequestTimeout without progress.
    explicit PageLoader(QWebEngineView& view);

    void load(const QUrl& url);

    /// Tries no more, whatever becomes of the load under way.
    void finish();

signals:
    /// True: a page is there; also for later ones, when the first leads on. False: no try is left.
    void finished(bool success);

private:
    void onLoadFinished(bool success);
    void onStalled();
    void retry();

    QWebEngineView& m_view;
    QTimer m_stallTimer;
    bool m_stopRequested = false; ///< the load that stalled was told to stop
    bool m_firstLoadPending = true;
    int m_retriesLeft = 10;
};

} // namespace korvex
