#include "platform/foreground.h"

#include <QGuiApplication>
#include <QWindow>

namespace korvex::platform {

void bringToForeground(quintptr window)
{
    const auto windows = QGuiApplication::topLevelWindows();
    for (QWindow* const candidate : windows) {
        // winId() would create a handle for a window that has none.
        if (candidate->handle() == nullptr || candidate->winId() != window)
            continue;
        candidate->raise();
        candidate->requestActivate();
        return;
    }
}

} // namespace korvex::platform
