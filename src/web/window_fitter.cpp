#include "web/window_fitter.h"

#include "core/log.h"
#include "web/window_fit.h"

#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QWebEngineScript>
#include <QWebEngineView>
#include <algorithm>
#include <cstdlib>

namespace korvex {

namespace {

constexpr int kFitDelay = 150; // milliseconds
constexpr int kTolerance = 1;  // pixels
// The engine ignores a smaller factor.
constexpr double kSmallestZoom = 0.25;

constexpr char kScript[] = R"(
function getWindowInfo() {
  const info = {
    windowWidth: window.innerWidth,
    windowHeight: window.innerHeight,
    scrollWidth: document.body.scrollWidth,
    scrollHeight: document.body.scrollHeight,
    panelWidth: 0,
    panelHeight: 0
  };
  const panels = document.querySelectorAll(".panel");
  if (panels === undefined || panels.length !== 1)
    return info;
  info.panelWidth = panels[0].offsetWidth;
  info.panelHeight = panels[0].offsetHeight;
  return info;
}
getWindowInfo();
)";

} // namespace

WindowFitter::WindowFitter(QWidget& window, QWebEngineView& view)
    : m_window(window)
    , m_view(view)
{}

void WindowFitter::fit()
{
    // A page that is destroyed answers its pending scripts with nothing.
    const auto answered = [guard = QPointer(this)](const QVariant& answer) {
        if (!guard)
            return;
        if (guard->fitToAnswer(answer))
            emit guard->fitted();
    };
    // In a script world of its own, which the page's scripts cannot change.
    m_view.page()->runJavaScript(QString::fromLatin1(kScript), QWebEngineScript::ApplicationWorld,
                                 answered);
}

void WindowFitter::scheduleFit()
{
    if (m_scheduled)
        return;
    m_scheduled = true;
    QTimer::singleShot(kFitDelay, this, [this] {
        fit();
        m_scheduled = false;
    });
}

bool WindowFitter::fitToAnswer(const QVariant& answer)
{
    const auto page = readPageDimensions(answer);
    if (!page) {
        logger().logWarning(
            0, QStringLiteral("Can't resize window, loading dimensions from javascript failed"));
        return false;
    }
    logger().log(3, QStringLiteral("Web HTML panel window height: %1 width: %2")
                        .arg(page->panel.height())
                        .arg(page->panel.width()));

    // A window that nobody has seen waits for a panel.
    if (page->panel.isEmpty() && m_window.testAttribute(Qt::WA_DontShowOnScreen)) {
        scheduleFit();
        return false;
    }
    const QScreen* const screen = m_window.screen();
    if (!screen) {
        logger().logWarning(
            0, QStringLiteral("Can't adjust window position, screen handle does not exist"));
        return false;
    }
    const WindowFit fit =
        fitWindow(page->panel, screen->availableGeometry().size(), screen->devicePixelRatio());
    if (!fit.fits)
        logger().logWarning(3, fit.message);
    else if (!fit.message.isEmpty())
        logger().log(3, fit.message);
    m_view.setZoomFactor(std::max(fit.zoom, kSmallestZoom));
    resizeWindow(fit.size);
    centreWindow(*screen);
    return !page->panel.isEmpty();
}

void WindowFitter::resizeWindow(const QSize& size)
{
    const QSize old = m_window.size();
    if (size == old) {
        logger().log(3, QStringLiteral("Skipping window resize, window already resized"));
        return;
    }
    if (std::abs(size.width() - old.width()) > kTolerance) {
        m_view.setFixedWidth(size.width());
        m_window.setFixedWidth(size.width());
    }
    if (std::abs(size.height() - old.height()) > kTolerance) {
        m_view.setFixedHeight(size.height());
        m_window.setFixedHeight(size.height());
    }
    logger().log(3, QStringLiteral("Window resolution changed from width: %1 height: %2 to width: "
                                   "%3 height: %4")
                        .arg(old.width())
                        .arg(old.height())
                        .arg(size.width())
                        .arg(size.height()));
}

void WindowFitter::centreWindow(const QScreen& screen)
{
    const QSize frame = m_window.frameGeometry().size();
    // Deliberately the width alone: a window without height is moved.
    if (frame.width() == 0) {
        logger().logWarning(0,
                            QStringLiteral("Can't adjust window position, invalid frame geometry"));
        return;
    }
    // In the middle of the whole screen, task bar included.
    const QPoint position = screen.geometry().center() - QRect(QPoint(), frame).center();
    m_window.move(position);
    logger().log(3, QStringLiteral("Window center position aligned to x: %1 y: %2")
                        .arg(position.x())
                        .arg(position.y()));
}

} // namespace korvex
