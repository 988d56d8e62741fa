#include "web/web_js_event_dispatcher.h"

#include <QWebEnginePage>

namespace korvex {

WebJsEventDispatcher::WebJsEventDispatcher(QWebEnginePage& page)
{
    m_channel.registerObject(QStringLiteral("KorvexNativeNotifier"), this);
    page.setWebChannel(&m_channel);
}

WebJsEventDispatcher::~WebJsEventDispatcher()
{
    m_channel.deregisterObject(this);
}

void WebJsEventDispatcher::onRFIDAuth(QString eventData)
{
    emit RFIDAuth(eventData);
}

void WebJsEventDispatcher::onRFIDEnroll(QString eventData)
{
    emit RFIDEnroll(eventData);
}

} // namespace korvex
