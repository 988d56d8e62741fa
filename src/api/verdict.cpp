#include "api/verdict.h"

#include "core/log.h"

#include <QCoreApplication>
#include <optional>

namespace korvex {

namespace {

std::optional<bool> current;

bool give(bool granted, const char* text, const QString& reason)
{
    if (current) {
        logger().log(1, QStringLiteral("Verdict already given, not followed: ") + reason);
        return *current;
    }
    current = granted;
    logger().log(0, QLatin1String(text) + reason);
    QCoreApplication::exit(granted ? 1 : 0);
    return granted;
}

} // namespace

bool grant(const QString& reason)
{
    return give(true, "User access granted, reason: ", reason);
}

bool deny(const QString& reason)
{
    return give(false, "User access denied, reason: ", reason);
}

bool verdictGiven()
{
    return current.has_value();
}

void clearVerdict()
{
    current.reset();
}

} // namespace korvex
