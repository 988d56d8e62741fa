#include "context/process_runner.h"

#include "core/log.h"
#include "platform/paths.h"
#include "platform/process.h"

#include <QProcess>

namespace korvex {

namespace {

constexpr std::chrono::seconds kTimeout(30);
constexpr int kMaxOutput = 64 * 1024;

QString readTrimmed(QProcess& process, QProcess::ProcessChannel channel)
{
    process.setReadChannel(channel);
    return QString::fromUtf8(process.read(kMaxOutput).trimmed());
}

} // namespace

bool runProcess(const QString& program, const QString& nativeArguments, QString& output,
                QString& errors)
{
    return runProcessWithin(kTimeout, program, nativeArguments, output, errors);
}

bool runProcessWithin(std::chrono::milliseconds limit, const QString& program,
                      const QString& nativeArguments, QString& output, QString& errors)
{
    QProcess process;
    process.setWorkingDirectory(platform::installDirectory());
    process.setProgram(program);
    platform::setNativeArguments(process, nativeArguments);
    process.start(QIODevice::ReadWrite);
    // One that hangs is abandoned: the process object kills it when it goes.
    if (!process.waitForFinished(static_cast<int>(limit.count()))) {
        logger().logError(QStringLiteral("Failed to execute '%1' process. Error details: '%2'")
                              .arg(program, process.errorString()));
        return false;
    }
    if (process.exitStatus() != QProcess::NormalExit) {
        logger().logError(QStringLiteral("'%1' process crashed with status: '%2'")
                              .arg(program, QString::number(process.exitStatus())));
        return false;
    }
    if (const QString text = readTrimmed(process, QProcess::StandardOutput); !text.isEmpty()) {
        logger().log(2, QStringLiteral("'%1' process finished. Output: '%2'").arg(program, text));
        output = text;
    }
    if (const QString text = readTrimmed(process, QProcess::StandardError); !text.isEmpty()) {
        logger().logWarning(
            2, QStringLiteral("'%1' finished with some errors. Details: '%2'").arg(program, text));
        errors = text;
    }
    if (process.exitCode() != 0) {
        logger().log(1, QStringLiteral("'%1' process finished with non-success code: '%2'")
                            .arg(program, QString::number(process.exitCode())));
        return false;
    }
    return true;
}

} // namespace korvex
