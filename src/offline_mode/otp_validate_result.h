#pragma once

#include <QMetaType>
#include <QString>

namespace korvex::offline_mode {

/// Whether a typed code may be checked, and what to tell the user about its form.
class OtpValidateResult
{
    Q_GADGET
    Q_PROPERTY(bool status MEMBER status)
    Q_PROPERTY(QString wholeValidateMessage MEMBER wholeValidateMessage)

public:
    bool status = false;
    QString wholeValidateMessage;
};

} // namespace korvex::offline_mode

Q_DECLARE_METATYPE(korvex::offline_mode::OtpValidateResult)
