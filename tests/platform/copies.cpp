#include "platform/copies.h"

#include <QCoreApplication>
#include <QProcess>
#include <cstdio>
#include <memory>
#include <vector>

namespace korvex::test {

namespace {

constexpr int kTimeout = 60000; // milliseconds

QByteArray outcomeOf(QProcess& copy)
{
    const bool finished = copy.waitForFinished(kTimeout) || copy.state() == QProcess::NotRunning;
    if (finished && copy.exitStatus() == QProcess::NormalExit && copy.exitCode() == 0)
        return copy.readAllStandardOutput();
    return "failed: " + copy.errorString().toUtf8() + ", exit code " +
           QByteArray::number(copy.exitCode());
}

} // namespace

QByteArrayList runCopies(int count, const QStringList& arguments)
{
    std::vector<std::unique_ptr<QProcess>> copies;
    for (int number = 0; number < count; ++number) {
        auto copy = std::make_unique<QProcess>();
        copy->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        copy->start(QCoreApplication::applicationFilePath(),
                    QStringList{QStringLiteral("--copy"), QString::number(number)} + arguments);
        copies.push_back(std::move(copy));
    }
    QByteArrayList outcomes;
    for (const auto& copy : copies) {
        copy->waitForStarted(kTimeout);
        copy->waitForReadyRead(kTimeout);
        copy->read(1); // the sign of awaitRelease()
    }
    for (const auto& copy : copies)
        copy->write("\n");
    for (const auto& copy : copies)
        copy->waitForBytesWritten(kTimeout);
    for (const auto& copy : copies)
        outcomes.append(outcomeOf(*copy));
    return outcomes;
}

void awaitRelease()
{
    std::fputc('.', stdout);
    std::fflush(stdout);
    std::fgetc(stdin);
}

} // namespace korvex::test
