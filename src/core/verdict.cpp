#include "core/verdict.h"

#include "core/log.h"

#include <QCoreApplication>
#include <optional>

namespace korvex {

namespace {

constexpr int kGranted = 1;
constexpr int kDenied = 0;
constexpr int kNoOfflineScreen = -1;

std::optional<int> current;

/// Returns whether the sign-in is granted, by this call or by an earlier one.
bool give(int verdict, const QString& line, const QString& reason)
{
    if (current) {
        logger().log(1, QStringLiteral("Verdict already given, not followed: ") + reason);
        return *current == kGranted;
    }
    current = verdict;
    logger().log(0, line);
    QCoreApplication::exit(verdict);
    return verdict == kGranted;
}

} // namespace

bool grant(const QString& reason)
{
    return give(kGranted, QStringLiteral("User access granted, reason: ") + reason, reason);
}

bool deny(const QString& reason)
{
    return give(kDenied, QStringLiteral("User access denied, reason: ") + reason, reason);
}

void giveUpOfflineScreen()
{
    const QString line = QStringLiteral("Can't create object for qml!");
    give(kNoOfflineScreen, line, line);
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
