#pragma once

#include <QObject>
#include <QString>

class QTranslator;

namespace korvex::offline_mode {

/// The language of the offline screen, which the user may change. GUI thread.
class InternationalizationController : public QObject
{
    Q_OBJECT
    /// A value of OfflineModeController::Languages.
    Q_PROPERTY(int selectedLanguage READ selectedLanguage WRITE setSelectedLanguage NOTIFY
                   selectedLanguageChanged)

public:
    /// `translator` is the application's own, with the language that the sign-in began in; it has
    /// to outlive this object.
    explicit InternationalizationController(QTranslator& translator);

    int selectedLanguage() const { return m_language; }
    /// Loads the language into the application's translator. A number of no language is ignored.
    void setSelectedLanguage(int language);

    /// A name of the language list in the selected language; any other text as it is.
    Q_INVOKABLE QString translate(const QString& message) const;

signals:
    void selectedLanguageChanged();

private:
    QTranslator& m_translator;
    int m_language;
};

} // namespace korvex::offline_mode
