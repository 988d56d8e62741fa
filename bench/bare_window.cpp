// The smallest program that shows a QML window: the size and colour of the offline screen, the
// product's application attributes, and nothing else. Prints "started MILLISECONDS" first.

#include "clocks.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <cstdio>

namespace {

constexpr char kWindow[] = R"(
import QtQuick 2.15
import QtQuick.Window 2.15
Window {
    visible: true
    color: "#fbfcfe"
    width: 460
    height: 568
    x: (Screen.width - width) / 2
    y: (Screen.height - height) / 2
}
)";

} // namespace

int main(int argc, char** argv)
{
    std::printf("started %f\n", korvex::bench::sharedNow());
    std::fflush(stdout);
    QCoreApplication::setAttribute(Qt::AA_UseOpenGLES);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    const QGuiApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData(kWindow);
    return QGuiApplication::exec();
}
