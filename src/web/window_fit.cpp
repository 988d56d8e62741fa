#include "web/window_fit.h"

#include <QVariant>
#include <algorithm>
#include <cmath>

namespace korvex {

namespace {

// Larger than any screen. The memory for a larger window could end the sign-in.
constexpr int kLargestSide = 8192;

constexpr int kSpareHeight = 10;    // of the window, around its panel
constexpr int kReservedHeight = 40; // of the screen, for a task bar
constexpr double kZoomAllowance = 0.5;

/// The engine hands a script's number over as a double or an integer.
std::optional<int> readSide(const QVariantMap& map, const QString& key)
{
    bool isNumber = false;
    const double number = map.value(key).toDouble(&isNumber);
    if (!isNumber || std::isnan(number))
        return std::nullopt;
    return qRound(std::clamp<double>(number, 0, kLargestSide));
}

std::optional<QSize> readSize(const QVariantMap& map, const QString& name)
{
    const auto width = readSide(map, name + QStringLiteral("Width"));
    const auto height = readSide(map, name + QStringLiteral("Height"));
    if (!width || !height)
        return std::nullopt;
    return QSize(*width, *height);
}

QString number(double value)
{
    return QString::number(value, 'g', 6);
}

} // namespace

std::optional<PageDimensions> readPageDimensions(const QVariant& answer)
{
    const QVariantMap map = answer.toMap();
    const auto window = readSize(map, QStringLiteral("window"));
    const auto scroll = readSize(map, QStringLiteral("scroll"));
    const auto panel = readSize(map, QStringLiteral("panel"));
    if (!window || !scroll || !panel)
        return std::nullopt;
    return PageDimensions{.window = *window, .scroll = *scroll, .panel = *panel};
}

WindowFit fitWindow(const QSize& panel, const QSize& available, double devicePixelRatio)
{
    WindowFit fit;
    fit.size = {panel.width(), panel.height() + kSpareHeight};
    // At least one: a screen that is lower than the reserved height gets the smallest zoom.
    const int maxHeight = std::max(1, available.height() - kReservedHeight);
    if (fit.size.height() <= maxHeight)
        return fit;

    const double mostZoomOut = devicePixelRatio + kZoomAllowance;
    double ratio = static_cast<double>(fit.size.height()) / maxHeight;
    fit.fits = ratio <= mostZoomOut;
    if (fit.fits) {
        fit.message = QStringLiteral("Window resolution ratio adjusted from %1, to %2")
                          .arg(number(devicePixelRatio), number(ratio));
    } else {
        fit.message =
            QStringLiteral("Can't fit inside the screen resolution width: %1 height: %2 ratio: %3")
                .arg(number(available.width() * devicePixelRatio),
                     number(available.height() * devicePixelRatio), number(devicePixelRatio));
        ratio = mostZoomOut;
    }
    fit.size = {qRound(fit.size.width() / ratio), qRound(fit.size.height() / ratio)};
    fit.zoom = 1 / ratio;
    return fit;
}

} // namespace korvex
