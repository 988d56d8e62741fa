#pragma once

#include <QWebEngineUrlRequestInterceptor>

namespace korvex {

/// Adds the header "ngrok-skip-browser-warning: true" to every request of the profile, whatever its
/// address or kind. A tunnel of that kind otherwise answers with a page of its own.
class BrowserInterceptor : public QWebEngineUrlRequestInterceptor
{
    Q_OBJECT

public:
    /// Called by the web engine; changes nothing else and blocks nothing.
    void interceptRequest(QWebEngineUrlRequestInfo& info) override;
};

} // namespace korvex
