// The smallest program that shows a page: a web view with the product's engine flags, application
// attributes and window size, and nothing else. It shows its window at once, so that the first
// frame is drawn while the page loads. That is faster than the way of the product, whose window
// stays hidden until the page has loaded.
//
// Loads the address that is its argument and prints "started MILLISECONDS" when the page has set
// the title that hands over a token.

#include "clocks.h"

#include <QApplication>
#include <QScreen>
#include <QUrl>
#include <QWebEngineView>
#include <cstdio>

int main(int argc, char** argv)
{
    const double started = korvex::bench::sharedNow();
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS",
            "--disable-gpu --disable-gpu-compositing --disable-features=Vulkan");
    QCoreApplication::setAttribute(Qt::AA_UseOpenGLES);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    const QApplication application(argc, argv);

    QWebEngineView view;
    view.setGeometry(QGuiApplication::primaryScreen()->availableGeometry());
    QObject::connect(&view, &QWebEngineView::titleChanged, [](const QString& title) {
        if (title.contains(QLatin1String("token")))
            QCoreApplication::quit();
    });
    view.load(QUrl(QString::fromLocal8Bit(argv[1])));
    view.show();
    const int result = QApplication::exec();
    std::printf("started %f\n", started);
    return result;
}
