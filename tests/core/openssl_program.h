#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

namespace korvex::test {

/// What the openssl program answers to an input; "failed" with its complaint when it refuses.
inline QByteArray openssl(const QStringList& arguments, const QByteArray& input)
{
    QProcess program;
    program.start("openssl", arguments);
    program.write(input);
    program.closeWriteChannel();
    if (program.waitForFinished() && program.exitCode() == 0)
        return program.readAllStandardOutput();
    return "failed: " + program.errorString().toUtf8() + program.readAllStandardError();
}

/// The lower-case hex digits of a digest of the input; `options` come before "-r", for example
/// "-sha256".
inline QByteArray opensslDigest(const QStringList& options, const QByteArray& input)
{
    const QByteArray answer = openssl(QStringList{"dgst"} + options + QStringList{"-r"}, input);
    return answer.left(answer.indexOf(' '));
}

} // namespace korvex::test
