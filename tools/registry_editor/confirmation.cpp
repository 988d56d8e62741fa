#include "confirmation.h"

#include <QString>
#include <cstdio>
#include <iostream>
#include <string>
#include <unistd.h>

namespace korvex::registry_editor {

bool confirm(const QString& question)
{
    const bool isAnswered = ::isatty(STDIN_FILENO) != 0;
    for (;;) {
        std::fputs(question.toUtf8().constData(), stdout);
        std::fflush(stdout);
        std::string answer;
        if (!isAnswered || !std::getline(std::cin, answer)) {
            std::fputc('\n', stdout);
            return false;
        }
        const QString word = QString::fromStdString(answer).trimmed().toLower();
        if (word == QLatin1String("y") || word == QLatin1String("yes"))
            return true;
        if (word == QLatin1String("n") || word == QLatin1String("no"))
            return false;
    }
}

} // namespace korvex::registry_editor
