#include "support/temporary_root.h"

#include "platform/paths.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace korvex::test {

QString TemporaryRoot::logPath() const
{
    return QDir(platform::dataRoot())
        .filePath(QStringLiteral("Logs/korvex-credential-provider.log"));
}

QStringList TemporaryRoot::logMessages() const
{
    QFile file(logPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    static const QRegularExpression prefix(
        QStringLiteral("^\\[[^]]*\\] \\[KorvexLogin [^]]*\\] \\[\\d+:\\d+\\] "));
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.constLast().isEmpty())
        lines.removeLast();
    for (QString& line : lines)
        line.remove(prefix);
    return lines;
}

QStringList TemporaryRoot::takeLog()
{
    const QStringList all = logMessages();
    const QStringList fresh = all.mid(m_taken);
    m_taken = all.size();
    return fresh;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace korvex::test
