#include "command_line.h"

#include <algorithm>
#include <array>

namespace korvex::registry_editor {

namespace {

struct VerbForm
{
    Verb verb;
    const char* name;
    int operands;
    std::array<const char*, 5> switches; ///< those with an argument end in ":"
    const char* usage;
};

constexpr std::array kForms{
    VerbForm{Verb::Add,
             "add",
             1,
             {"/v:", "/ve", "/t:", "/d:", "/f"},
             "korvex-reg add KEY [/v NAME | /ve] [/t REG_SZ | REG_DWORD | REG_QWORD] [/d DATA] "
             "[/f]\n\n"
             "Makes the key, and sets the value when one is named; /ve names the default value.\n"
             "Without /t the value is a REG_SZ. Numbers are decimal, or hexadecimal after 0x.\n"
             "/f replaces an existing value without asking.\n"},
    VerbForm{
        Verb::Query,
        "query",
        1,
        {"/v:", "/ve", "/s"},
        "korvex-reg query KEY [/v NAME | /ve] [/s]\n\n"
        "Shows the values of the key and the keys below it, or the value named; with /s of all\n"
        "keys below it, too.\n"},
    VerbForm{
        Verb::Delete,
        "delete",
        1,
        {"/v:", "/ve", "/va", "/f"},
        "korvex-reg delete KEY [/v NAME | /ve | /va] [/f]\n\n"
        "Deletes the value named, with /va all values of the key, or else the key and all keys\n"
        "below it. /f deletes without asking.\n"},
    VerbForm{Verb::Import,
             "import",
             1,
             {},
             "korvex-reg import FILE\n\n"
             "Makes all changes that a .reg file names, or, if it has a fault, none.\n"},
    VerbForm{Verb::Export,
             "export",
             2,
             {"/y"},
             "korvex-reg export KEY FILE [/y]\n\n"
             "Writes the key and all keys below it to a .reg file, which Windows reads, too.\n"
             "/y replaces an existing file without asking.\n"},
};

constexpr const char* kRoots =
    "\nKEY begins with HKLM or HKEY_LOCAL_MACHINE. The registry is the file registry.db below\n"
    "$KORVEX_ROOT, or below /var/lib/korvex where that is not set.\n";

const VerbForm& formOf(Verb verb)
{
    return *std::find_if(kForms.begin(), kForms.end(),
                         [verb](const VerbForm& form) { return form.verb == verb; });
}

std::unexpected<QString> syntaxError(const VerbForm& form, const QString& detail = {})
{
    const QString dot = detail.isEmpty() ? QString() : QStringLiteral(" ");
    return std::unexpected(
        QStringLiteral("Invalid syntax.%1%2\n%3").arg(dot, detail, usageHint(form.verb)));
}

enum class SwitchKind { None, Plain, WithArgument };

SwitchKind kindOf(const VerbForm& form, const QString& lowerCase)
{
    for (const char* const name : form.switches) {
        if (name == nullptr)
            break;
        if (lowerCase == QLatin1String(name))
            return SwitchKind::Plain;
        if (lowerCase + QLatin1Char(':') == QLatin1String(name))
            return SwitchKind::WithArgument;
    }
    return SwitchKind::None;
}

bool takesFile(Verb verb)
{
    return verb == Verb::Import || verb == Verb::Export;
}

} // namespace

std::expected<Command, QString> parseCommandLine(const QStringList& arguments)
{
    const QString verbName = arguments.value(0).toLower();
    const auto form = std::find_if(kForms.begin(), kForms.end(), [&](const VerbForm& candidate) {
        return verbName == QLatin1String(candidate.name);
    });
    if (form == kForms.end())
        return std::unexpected(QStringLiteral("Invalid syntax.\nType \"REG /?\" for usage."));

    Command command{.verb = form->verb, .wantsUsage = false, .operands = {}, .switches = {}};
    for (int index = 1; index < arguments.size(); ++index) {
        const QString& argument = arguments.at(index);
        const QString lowerCase = argument.toLower();
        if (lowerCase == QLatin1String("/?")) {
            command.wantsUsage = true;
            return command;
        }
        const SwitchKind kind = kindOf(*form, lowerCase);
        if (kind == SwitchKind::None) {
            // Where a file is expected, "/tmp/x.reg" is one.
            if (argument.startsWith(QLatin1Char('/')) && !takesFile(form->verb))
                return syntaxError(*form, QStringLiteral("There is no switch '%1'.").arg(argument));
            command.operands.append(argument);
            continue;
        }
        if (command.switches.contains(lowerCase))
            return syntaxError(*form, QStringLiteral("'%1' is there twice.").arg(lowerCase));
        if (kind == SwitchKind::WithArgument && ++index == arguments.size())
            return syntaxError(*form, QStringLiteral("'%1' has no value.").arg(lowerCase));
        command.switches.insert(lowerCase,
                                kind == SwitchKind::WithArgument ? arguments.at(index) : QString());
    }
    if (command.operands.size() != form->operands || command.operands.contains(QString()))
        return syntaxError(*form);
    if (int{command.has("/v")} + int{command.has("/ve")} + int{command.has("/va")} > 1)
        return syntaxError(*form);
    return command;
}

QString usageHint(Verb verb)
{
    return QStringLiteral("Type \"REG %1 /?\" for usage.")
        .arg(QString::fromLatin1(formOf(verb).name).toUpper());
}

QString usage(Verb verb)
{
    return QLatin1String(formOf(verb).usage) + QLatin1String(kRoots);
}

QString usage()
{
    QString text;
    for (const VerbForm& form : kForms)
        text +=
            QString::fromLatin1(form.usage).section(QLatin1Char('\n'), 0, 0) + QLatin1Char('\n');
    return text + QLatin1String(kRoots);
}

} // namespace korvex::registry_editor
