#pragma once

#include <QString>

namespace korvex::test {

/// Gives this process, and the copies of itself that it starts, a registry and fixed folders that
/// are the test's own, empty at first and gone at the end. One at a time.
///
/// Linux: a root folder. Windows: the two predefined keys lead below a key of the test's own in the
/// user's part of the registry; the fixed folders are the real ones, so a machine that the product
/// is installed on is refused, and tests that use them run one after another.
class ScratchSystem
{
public:
    /// `folder` is an empty folder of the test's own.
    explicit ScratchSystem(const QString& folder);
    ~ScratchSystem();
    ScratchSystem(const ScratchSystem&) = delete;
    ScratchSystem& operator=(const ScratchSystem&) = delete;

    void emptyRegistry();

private:
    QString m_place;
};

/// The account that runs the test.
QString knownAccount();

} // namespace korvex::test
