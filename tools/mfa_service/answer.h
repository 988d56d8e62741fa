#pragma once

#include <QByteArray>
#include <QMap>

namespace korvex::mfa_service {

/// One HTTP answer before it goes to the wire. The body is never empty.
struct Answer
{
    enum class Delivery {
        Whole,
        CutShort, ///< announces more bytes than it sends, then closes
        Slowly,   ///< a byte every 100 ms, without end
        Never,    ///< silence until the service stops
    };

    int status = 200;
    QByteArray contentType = "text/plain; charset=utf-8";
    QByteArray body{};
    QMap<QByteArray, QByteArray> headers{};
    Delivery delivery = Delivery::Whole;
};

} // namespace korvex::mfa_service
