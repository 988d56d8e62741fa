#include "web/cookie_flush.h"

#include "core/log.h"
#include "platform/file_use.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QThread>

namespace korvex {

namespace {

constexpr int kPatience = 2000; // milliseconds
constexpr int kPause = 2;

} // namespace

CookieFlush::CookieFlush(const QString& storage)
    : m_file(QDir(storage).filePath(QStringLiteral("Cookies")))
{}

CookieFlush::~CookieFlush()
{
    // The engine tells nobody when it is done, but it closes the file then.
    const QDeadlineTimer deadline(kPatience);
    while (platform::isFileOpen(m_file)) {
        if (deadline.hasExpired()) {
            logger().logWarning(
                0, QStringLiteral("Cookies may be lost: '%1' is still in use").arg(m_file));
            return;
        }
        QThread::msleep(kPause);
    }
}

} // namespace korvex
