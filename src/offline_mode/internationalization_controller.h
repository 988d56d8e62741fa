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
    /// Loads the language into the application's translator. An unknown number is ignored; a
    /// language that cannot be loaded leaves the one that is shown.
    void setSelectedLanguage(int language);

    /// The translation of a name of the language list; any other text unchanged.
    Q_INVOKABLE QString translate(const QString& message) const;

signals:
    void selectedLanguageChanged();

private:
    QTranslator& m_translator;
    int m_language;
};

} // namespace korvex::offline_mode
