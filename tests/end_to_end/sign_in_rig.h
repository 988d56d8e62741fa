#pragma once

#include "end_to_end/display.h"
#include "mfa_service/mfa_service.h"
#include "platform/registry.h"
#include "support/temporary_root.h"

#include <QByteArrayList>
#include <QString>
#include <QStringList>
#include <QVector>
#include <functional>
#include <memory>
#include <mutex>

namespace korvex::test {

/// How a run of korvex-signin-host ended.
struct Outcome
{
    QVector<int> verdicts;  ///< of the calls that returned
    int exitCode = -1;      ///< stays so for a crash
    int boxesDismissed = 0; ///< message boxes that waited for a key
    QStringList log;        ///< messages without their prefix, of this run
    QByteArray output;

    /// The reason of the last verdict line, with "granted: " or "denied: " before it.
    QString lastVerdict() const;
    /// Whether the process ended as the product ends it for a closed window: by itself, with no
    /// verdict.
    bool endedWithoutVerdict() const
    {
        return exitCode == 0 && verdicts.isEmpty() && lastVerdict().isEmpty();
    }
};

/// Everything a whole sign-in needs: a root folder with its registry, a running service, a display,
/// and the stand-in host. Configured so that a sign-in of any user succeeds by itself: the page
/// sends the right code without a person.
class SignInRig
{
public:
    SignInRig();

    mfa_service::MfaService& service() { return *m_service; }
    const Display& display() const { return m_display; }
    const TemporaryRoot& root() const { return m_root; }

    /// Values of the product's main registry key.
    void set(const QString& name, const QString& value);
    void set(const QString& name, qint32 value);

    /// Shows the service's own page, on which a code has to be typed.
    void showRealPage();
    /// Shows a page whose script is `script`; "CODE" in it stands for the right code and "SUBMIT"
    /// for sending that code and then handing the token over.
    void showScript(const QString& script);

    /// The code that the user's authenticator app shows.
    QString code() const;

    /// Runs the host with these arguments to its end, dismissing message boxes with Return.
    /// `meanwhile` is called again and again until it returns true.
    Outcome run(const QStringList& arguments, const std::function<bool()>& meanwhile = {});
    /// A console sign-in of one user.
    Outcome signIn(const QString& user = "alice", const std::function<bool()>& meanwhile = {});
    /// What the requests for the route had in their bodies, oldest first.
    QByteArrayList bodiesOf(const QString& route) const;

    /// A command to run the host with, in place of starting it directly.
    void setWrapper(const QStringList& command) { m_wrapper = command; }
    /// Variables for the host, besides those of the test.
    QMap<QString, QString> environment;

private:
    TemporaryRoot m_root;
    Display m_display;
    QStringList m_wrapper;
    mutable std::mutex m_mutex; ///< guards what the service's threads use
    QString m_code;
    QString m_script;
    std::unique_ptr<mfa_service::MfaService> m_service;
};

} // namespace korvex::test
