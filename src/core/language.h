#pragma once

#include <QString>
#include <map>

class QTranslator;

namespace korvex {

/// The languages in which the texts exist, from the code ("de_DE") to their stable number.
const std::map<QString, int>& languageNumbers();

/// The same from the number to the code.
const std::map<int, QString>& languageCodes();

/// Loads the compiled-in translation of a language; false when there is none.
bool loadLanguage(QTranslator& translator, const QString& code);

} // namespace korvex
