#pragma once

#include "core/log.h"
#include "core/settings.h"
#include "core/verdict.h"
#include "mfa_service/mfa_service.h"
#include "support/temporary_root.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <functional>
#include <optional>

namespace korvex::test {

const QString kInit = "/api/transaction/init";
const QString kCredentials = "/api/transaction/credentials";
const QString kSecretKey = "the secret that nobody logs";

/// What the tests of a program share: a root folder, its registry, the log at full verbosity, and
/// for each test a fresh service that the registry names.
class ServiceState
{
public:
    explicit ServiceState(bool debugRequests = false)
    {
        mainKey().writeNumber("debugMode", 3);
        mainKey().writeNumber("debugKorvexRequests", debugRequests ? 1 : 0);
        logger();
    }

    void startAnew(bool https = false)
    {
        m_service.emplace(mfa_service::ServiceOptions{
            .systemToken = "system-token", .secretKey = kSecretKey, .https = https});
        if (const auto started = m_service->start(); !started)
            qFatal("%s", qPrintable(started.error()));
        mainKey().writeString("systemToken", "system-token");
        mainKey().writeString("SecretKey", kSecretKey);
        mainKey().writeString("korvexApiServer", m_service->baseUrl());
        mainKey().writeString("FailMode", "deny");
        mainKey().writeNumber("RequestTimeout", 10000);
        mainKey().writeNumber("sendUPN", 0);
        cacheKey().writeNumber("IsCompanyDataReaded", 1); // one request less in each sign-in
        clearVerdict();
        takeLog();
    }

    mfa_service::MfaService& service() { return *m_service; }

    /// The paths of the requests so far.
    QStringList paths() const
    {
        QStringList paths;
        for (const auto& request : m_service->requests())
            paths << request.path;
        return paths;
    }

    /// The messages logged since the last call.
    QStringList takeLog() { return m_root.takeLog(); }

    bool secretWasLogged() const { return !m_root.logMessages().filter(kSecretKey).isEmpty(); }

private:
    TemporaryRoot m_root;
    std::optional<mfa_service::MfaService> m_service;
};

constexpr int kNoVerdict = 77;

/// Runs the application's event loop with this as its first work. Its result, kNoVerdict when the
/// work came to an end without a verdict.
inline int runInEventLoop(const std::function<void()>& work)
{
    QTimer::singleShot(0, qApp, [&work] {
        work();
        if (!verdictGiven())
            QCoreApplication::exit(kNoVerdict);
    });
    return QCoreApplication::exec();
}

/// Whenever a message box is shown, keeps its text and does what the test wants.
class BoxWatcher
{
public:
    explicit BoxWatcher(const std::function<void(QMessageBox&)>& whenShown = &QMessageBox::accept)
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this, whenShown] {
            if (auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                texts << box->text();
                whenShown(*box);
            }
        });
        m_timer.start(5);
    }

    QStringList texts;

private:
    QTimer m_timer;
};

} // namespace korvex::test
