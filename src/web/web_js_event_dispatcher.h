#pragma once

#include "core/non_movable_copyable.h"

#include <QObject>
#include <QString>
#include <QWebChannel>

class QWebEnginePage;

namespace korvex {

/// The object "KorvexNativeNotifier" of the page's web channel, through which the page's scripts
/// raise card events in the application. The page loads the web-channel script itself; a call
/// returns nothing. Events are neither filtered nor queued.
// The base is private. The keyword is left out: with it, moc does not list the base in
// qt_metacast().
class WebJsEventDispatcher : public QObject, NonMovableCopyable
{
    Q_OBJECT

public:
    /// Opens the channel on `page`, which must outlive this object.
    explicit WebJsEventDispatcher(QWebEnginePage& page);
    ~WebJsEventDispatcher() override;

signals:
    void RFIDAuth(QString eventData);
    void RFIDEnroll(QString eventData);

public slots:
    void onRFIDAuth(QString eventData);
    void onRFIDEnroll(QString eventData);

private:
    QWebChannel m_channel;
};

} // namespace korvex
