#pragma once

#include <QByteArray>
#include <QStringList>

namespace korvex {

/// The Accept-Language value for a list of user-interface languages (BCP 47 tags): the first tag,
/// its primary language, then English.
QByteArray acceptLanguage(const QStringList& uiLanguages);

} // namespace korvex
