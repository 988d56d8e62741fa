#include "web/browser_interceptor.h"

namespace korvex {

void BrowserInterceptor::interceptRequest(QWebEngineUrlRequestInfo& info)
{
    info.setHttpHeader("ngrok-skip-browser-warning", "true");
}

} // namespace korvex
