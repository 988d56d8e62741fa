#pragma once

#include <QStringList>

class QTranslator;

namespace korvex {

/// The code ("de_DE") of the language to use: the first of the user interface's languages that is
/// one of ours, by its first part, and whose translation can be loaded. Empty when there is none.
QString chooseLanguage(const QStringList& uiLanguages);

/// Loads the translation for the system's languages and installs it in the application; English
/// when there is none. GUI thread.
void installLanguage(QTranslator& translator);

} // namespace korvex
