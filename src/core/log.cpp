#include "core/log.h"

#include "core/registry_keys.h"
#include "core/setting_definitions.h"
#include "core/version.h"
#include "platform/append_file.h"
#include "platform/fault_report.h"
#include "platform/paths.h"
#include "platform/process.h"

#include <QDateTime>
#include <QDir>
#include <algorithm>

namespace korvex {

namespace {

QString linePrefix()
{
    const QDateTime now = QDateTime::currentDateTime();
    const QDate day = now.date();
    const QTime time = now.time();
    // The difference of local time and UTC, rounded to minutes. Cheaper than asking for the offset.
    const qint64 ahead =
        QDateTime(day, time, Qt::UTC).toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch();
    const int offset = qRound(static_cast<double>(ahead) / 60); // minutes
    // QDateTime's formats cost as much as the rest of a line and use the digits of the country.
    return QString::asprintf(
        "[%04d-%02d-%02d %02d:%02d:%02d UTC%s%d] [KorvexLogin %s] [%llu:%llu] ", day.year(),
        day.month(), day.day(), time.hour(), time.minute(), time.second(), offset >= 0 ? "+" : "",
        offset / 60, kVersion, platform::currentProcessId(), platform::currentThreadId());
}

QString levelTag(int level)
{
    return level >= 1 && level <= 3 ? QStringLiteral("[Verbose %1] ").arg(level) : QString();
}

bool endsLine(QChar c)
{
    return c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
           c == QChar::ParagraphSeparator;
}

/// One line whatever the message holds: a page or a program could otherwise forge lines.
QString onOneLine(const QString& message)
{
    if (std::none_of(message.begin(), message.end(), endsLine))
        return message;
    QString line;
    for (const QChar c : message)
        if (endsLine(c))
            line += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            line += c;
    return line;
}

} // namespace

Logger::Logger()
{
    const QString directory = platform::dataRoot() + QDir::separator() + QStringLiteral("Logs");
    QDir(directory).mkpath(QStringLiteral("."));
    m_file.setFileName(directory + QDir::separator() +
                       QStringLiteral("korvex-credential-provider.log"));
    platform::openForAppending(m_file);
    m_maxLevel =
        std::max(0, mainKey().readNumber(definitionOf(Setting::DebugMode).name).value_or(0));
    m_debugRequests =
        mainKey().readBool(definitionOf(Setting::DebugKorvexRequests).name).value_or(false);
}

bool Logger::log(int level, const QString& message)
{
    if (level > m_maxLevel || !m_file.isOpen())
        return false;
    const QByteArray line =
        QString(linePrefix() + levelTag(level) + onOneLine(message) + QLatin1Char('\n')).toUtf8();
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
    // After the log is made: making it reads the registry, whose faults go to the log.
    static const bool listening = [] {
        platform::setFaultHandler([](const QString& text) { instance.logError(text); });
        return true;
    }();
    Q_UNUSED(listening)
    return instance;
}

} // namespace korvex
