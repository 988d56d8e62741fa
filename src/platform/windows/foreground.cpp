#include "platform/foreground.h"

#include <windows.h>

namespace korvex::platform {

void bringToForeground(quintptr window)
{
    const HWND handle = reinterpret_cast<HWND>(window);
    if (IsWindow(handle) == FALSE)
        return;
    SetWindowPos(handle, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    SetForegroundWindow(handle);
}

} // namespace korvex::platform
