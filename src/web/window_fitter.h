#pragma once

#include <QObject>
#include <QSize>

class QScreen;
class QVariant;
class QWebEngineView;
class QWidget;

namespace korvex {

/// Keeps the sign-in window at the size of the panel that the service's page draws, in the middle
/// of its screen. Has to be destroyed before the view.
class WindowFitter : public QObject
{
    Q_OBJECT

public:
    /// `view` is the central widget of `window`; both must outlive the fitter.
    WindowFitter(QWidget& window, QWebEngineView& view);

    /// Asks the page for its panel and fits the window as soon as the answer is there.
    void fit();
    /// Calls fit() a moment later; once for all calls until then.
    void scheduleFit();

signals:
    /// The window has the size of a panel.
    void fitted();

private:
    bool fitToAnswer(const QVariant& answer);
    void resizeWindow(const QSize& size);
    void centreWindow(const QScreen& screen);

    QWidget& m_window;
    QWebEngineView& m_view;
    bool m_scheduled = false;
};

} // namespace korvex
