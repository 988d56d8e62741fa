#include "entry/application.h"

#include "core/log.h"
#include "platform/library.h"
#include "platform/paths.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryFile>

namespace korvex {

namespace {

void appendToEnvironment(const char* name, const QByteArray& flags)
{
    const QByteArray current = qgetenv(name);
    qputenv(name, current.isEmpty() ? flags : current + ' ' + flags);
}

void setEngineFlags()
{
    constexpr char name[] = "QTWEBENGINE_CHROMIUM_FLAGS";
    // The host's environment must not steer the engine of a logon window.
    qunsetenv(name);
    qunsetenv("QTWEBENGINE_REMOTE_DEBUGGING");
    appendToEnvironment(name, "--disable-gpu --disable-gpu-compositing --disable-features=Vulkan");
}

void createQtConf()
{
    // An existing file is left alone, and a folder that cannot be written changes nothing. The file
    // appears whole or not at all: half of it would keep Qt from starting.
    const QString path =
        platform::installDirectory() + QDir::separator() + QStringLiteral("qt.conf");
    const QByteArray content = platform::initialQtConf();
    QTemporaryFile file(path + QStringLiteral(".XXXXXX"));
    if (QFile::exists(path) || !file.open())
        return;
    const bool whole = file.write(content) == content.size() && file.flush() &&
                       file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup |
                                           QFile::ReadOther);
    if (whole && file.rename(path))
        file.setAutoRemove(false);
}

QApplication* createApplication()
{
    if (!platform::pinLibrary())
        logger().logWarning(0, QStringLiteral("The library could not be pinned in its process"));
    if (!platform::setApplicationFilePath(platform::libraryPath()))
        logger().logWarning(0, QStringLiteral("QtCore could not be told where the library lives"));
    createQtConf();
    setEngineFlags();
    QCoreApplication::setAttribute(Qt::AA_UseOpenGLES);
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);

    // Qt keeps references to both for the life of the application.
    static QByteArray program = platform::libraryPath().toLocal8Bit();
    static char* arguments[] = {program.data(), nullptr};
    static int count = 1;
    auto* application = new QApplication(count, arguments); // kept, see hostedApplication()
    // Only a verdict ends a sign-in. A message box that closes as the last window would otherwise
    // leave a quit event behind, which would deny the next sign-in.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    return application;
}

} // namespace

QApplication& hostedApplication()
{
    static QApplication* const application = createApplication();
    return *application;
}

} // namespace korvex
