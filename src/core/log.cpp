#include "core/log.h"

#include "core/settings.h"
#include "core/version.h"
#include "platform/append_file.h"
#include "platform/fault_report.h"
#include "platform/paths.h"
#include "platform/process.h"

#include <QDateTime>
#include <QDir>
#include <QLocale>
#include <algorithm>

namespace korvex {

namespace {

QString linePrefix()
{
    // The clock is read twice; a line at the turn of the hour may show it, and that is accepted.
    // Western digits in every country, which QDateTime's own toString() does not promise.
    const QString time =
        QLocale::c().toString(QDateTime::currentDateTime(), QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    const int offset = QDateTime::currentDateTime().offsetFromUtc();
    const QString zone = QStringLiteral("UTC%1%2").arg(
        offset >= 0 ? QStringLiteral("+") : QString(), QString::number(offset / 3600));
    return QStringLiteral("[%1 %2] [KorvexLogin %3] [%4:%5] ")
        .arg(time, zone, QLatin1String(kVersion), QString::number(platform::currentProcessId()),
             QString::number(platform::currentThreadId()));
}

QString levelTag(int level)
{
    return level >= 1 && level <= 3 ? QStringLiteral("[Verbose %1] ").arg(level) : QString();
}

} // namespace

Logger::Logger()
{
    const QString directory = platform::dataRoot() + QDir::separator() + QStringLiteral("Logs");
    QDir(directory).mkpath(QStringLiteral("."));
    m_file.setFileName(directory + QDir::separator() +
                       QStringLiteral("korvex-credential-provider.log"));
    platform::openForAppending(m_file);
    m_maxLevel = std::max(0, mainKey().readNumber(QStringLiteral("debugMode")).value_or(0));
    m_debugRequests = mainKey().readBool(QStringLiteral("debugKorvexRequests")).value_or(false);
}

bool Logger::log(int level, const QString& message)
{
    if (level > m_maxLevel || !m_file.isOpen())
        return false;
    const QByteArray line =
        QString(linePrefix() + levelTag(level) + message + QLatin1Char('\n')).toUtf8();
    const std::lock_guard lock(m_mutex);
    const bool written = platform::appendText(m_file, line);
    platform::writeStandardOutput(line);
    return written;
}

bool Logger::logError(const QString& message)
{
    return log(0, QStringLiteral("[Error] ") + message);
}

bool Logger::logWarning(int level, const QString& message)
{
    return log(level, QStringLiteral("[Warning] ") + message);
}

bool Logger::logRequest(const QString& message)
{
    // The tag says POST for every request, PATCH included; log readers rely on the one tag.
    return m_debugRequests && log(0, QStringLiteral("[Debug Requests] [POST] ") + message);
}

Logger& logger()
{
    static Logger instance;
    // Only once it stands: the log reads the registry, whose faults are to be logged.
    static const bool listening = [] {
        platform::setFaultHandler([](const QString& text) { instance.logError(text); });
        return true;
    }();
    Q_UNUSED(listening)
    return instance;
}

} // namespace korvex
