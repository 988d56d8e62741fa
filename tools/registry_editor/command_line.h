#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <expected>

namespace korvex::registry_editor {

enum class Verb { Add, Query, Delete, Import, Export };

struct Command
{
    Verb verb;
    bool wantsUsage = false;
    QStringList operands;            ///< the key, the file, as many as the verb takes
    QMap<QString, QString> switches; ///< in lower case, "/v"; with its argument where it has one

    bool has(const char* name) const { return switches.contains(QLatin1String(name)); }
    QString argumentOf(const char* name) const { return switches.value(QLatin1String(name)); }
    /// The name given with /v, the empty one of the default value with /ve.
    bool namesValue() const { return has("/v") || has("/ve"); }
};

/// Reads the arguments behind the program's name; the error is the text for the user.
std::expected<Command, QString> parseCommandLine(const QStringList& arguments);

/// "Type "REG ADD /?" for usage."
QString usageHint(Verb verb);
QString usage(Verb verb);
/// For all verbs.
QString usage();

} // namespace korvex::registry_editor
