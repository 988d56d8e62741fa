#pragma once

#include <QSize>
#include <QString>
#include <optional>

class QVariant;

namespace korvex {

/// What the script in the service's page tells of its layout, in CSS pixels. Only the panel is
/// used.
struct PageDimensions
{
    QSize window;
    QSize scroll;
    QSize panel; ///< zero without exactly one panel
};

/// Reads the script's answer, a map of six numbers; nothing if it is no map or a number is missing.
/// Numbers beyond what a window can have are brought into that range.
std::optional<PageDimensions> readPageDimensions(const QVariant& answer);

/// How a window has to be to show a panel.
struct WindowFit
{
    QSize size;       ///< of the window, in device-independent pixels
    double zoom = 1;  ///< of the page
    QString message;  ///< for the log; empty if the panel fits without zoom
    bool fits = true; ///< false if the window is taller than the screen in spite of its zoom
};

/// Fits a window to a panel on a screen with this available size (device-independent pixels) and
/// device pixel ratio: it takes the panel's size, and one that is too tall is zoomed out, but not
/// further than a factor of the pixel ratio and a half.
WindowFit fitWindow(const QSize& panel, const QSize& available, double devicePixelRatio);

} // namespace korvex
