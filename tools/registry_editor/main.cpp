#include "commands.h"

#include <QByteArrayList>
#include <cstdio>

using namespace korvex::registry_editor;

namespace {

int finish(const Outcome& outcome)
{
    std::fputs(outcome.output.toUtf8().constData(), stdout);
    std::fputs(outcome.error.toUtf8().constData(), stderr);
    return outcome.succeeded ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    // As UTF-8 whatever the locale, like the output: a script's value arrives as it was written.
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments.append(QString::fromUtf8(argv[index]));

    if (arguments.value(0) == QLatin1String("/?"))
        return finish({true, usage()});
    const auto command = parseCommandLine(arguments);
    if (!command)
        return finish({false, {}, QStringLiteral("ERROR: %1\n").arg(command.error())});
    if (command->wantsUsage)
        return finish({true, usage(command->verb)});
    return finish(run(*command));
}
