#include "platform/foreground.h"

#include <QGuiApplication>
#include <QWindow>

namespace korvex::platform {

void bringToForeground(quintptr window)
{
    const auto windows = QGuiApplication::topLevelWindows();
    for (QWindow* const candidate : windows) {
        // Asking a window without a handle for its number would create one.
        if (candidate->handle() == nullptr || candidate->winId() != window)
            continue;
        candidate->raise();
        candidate->requestActivate();
        return;
    }
}

} // namespace korvex::platform
