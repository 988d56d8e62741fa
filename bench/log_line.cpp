// A log line, against the same line formatted with one QDateTime and written once to a file and
// once to standard output.

#include "core/log.h"

#include "comparison.h"
#include "core/version.h"
#include "temporary_root.h"

#include <QDateTime>
#include <QFile>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr double kTarget = 1.5;

void writeDirectly(int file, const QString& message)
{
    const QDateTime now = QDateTime::currentDateTime();
    const int offset = now.offsetFromUtc();
    const QByteArray line =
        QStringLiteral("[%1 UTC%2%3] [KorvexLogin %4] [%5:%6] %7\n")
            .arg(now.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")),
                 QLatin1String(offset >= 0 ? "+" : ""), QString::number(offset / 3600),
                 QLatin1String(korvex::kVersion), QString::number(::getpid()),
                 QString::number(::gettid()), message)
            .toUtf8();
    const auto size = static_cast<std::size_t>(line.size());
    if (::write(file, line.constData(), size) != line.size() ||
        ::write(STDOUT_FILENO, line.constData(), size) != line.size())
        qFatal("a line cannot be written");
}

} // namespace

int main()
{
    const korvex::bench::TemporaryRoot root;
    ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    const int file = ::open(QFile::encodeName(root.filePath(QStringLiteral("direct.log"))),
                            O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0640);

    const QString message = QStringLiteral("Connection with Korvex API established");
    const auto ours = [&] {
        if (!korvex::logger().log(0, message))
            qFatal("a line is not logged");
    };
    const auto direct = [&] { writeDirectly(file, message); };
    using namespace korvex::bench;
    printHeading("the same line with one QDateTime, written once to file and output");
    return report(compareCalls("one log line", ours, direct), kTarget) ? 0 : 1;
}
