#pragma once

#include <QByteArrayList>
#include <QStringList>

namespace korvex::test {

/// Runs copies of this test program at the same time, each with the arguments "--copy", its number
/// (from 0) and `arguments`, and lets them go, together, once all are waiting in awaitRelease().
/// What each wrote to its standard output; "failed" with the cause for one that did not exit with
/// status 0 within a minute.
QByteArrayList runCopies(int count, const QStringList& arguments);

/// In a copy: returns when all copies run.
void awaitRelease();

} // namespace korvex::test
