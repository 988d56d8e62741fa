#pragma once

#include <QObject>
#include <QString>

namespace korvex::offline_mode {

/// The translated texts of the offline screen. After languageChanged() they are read anew.
class TotpTextProvider : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString windowTitle READ windowTitle NOTIFY languageChanged)
    Q_PROPERTY(QString signInLabel READ signInLabel NOTIFY languageChanged)
    Q_PROPERTY(QString noticeText READ noticeText NOTIFY languageChanged)
    Q_PROPERTY(QString enterCodeLabel READ enterCodeLabel NOTIFY languageChanged)
    Q_PROPERTY(QString signInButtonText READ signInButtonText NOTIFY languageChanged)
    Q_PROPERTY(QString infoWindowTitle READ infoWindowTitle NOTIFY languageChanged)
    Q_PROPERTY(QString infoMessage READ infoMessage NOTIFY languageChanged)
    Q_PROPERTY(QString infoCloseButtonText READ infoCloseButtonText NOTIFY languageChanged)
    Q_PROPERTY(QString dialogButtonText READ dialogButtonText NOTIFY languageChanged)
    Q_PROPERTY(QString positiveResult READ positiveResult NOTIFY languageChanged)
    Q_PROPERTY(QString negativeResult READ negativeResult NOTIFY languageChanged)
    Q_PROPERTY(QString waitText READ waitText NOTIFY languageChanged)
    Q_PROPERTY(QString recoveryCodeText READ recoveryCodeText NOTIFY languageChanged)
    Q_PROPERTY(QString recoveryCodeHint READ recoveryCodeHint NOTIFY languageChanged)
    Q_PROPERTY(QString daysLeftText READ daysLeftText NOTIFY languageChanged)
    Q_PROPERTY(QString languageLabel READ languageLabel NOTIFY languageChanged)

public:
    static QString windowTitle() { return tr("Korvex for Windows - Offline Mode"); }
    static QString signInLabel() { return tr("Sign In"); }
    /// The short form of infoMessage().
    static QString noticeText();
    static QString enterCodeLabel() { return tr("Enter the code:"); }
    static QString signInButtonText() { return tr("Sign In"); }
    static QString infoWindowTitle() { return tr("About Offline Mode"); }
    static QString infoMessage();
    static QString infoCloseButtonText() { return tr("Close"); }
    static QString dialogButtonText() { return tr("OK"); }
    static QString positiveResult()
    {
        return tr("Success! The user has entered the correct code.");
    }
    static QString negativeResult() { return tr("Hmm, that's not the right code. Try again."); }
    /// "%1" in it stands for the number of seconds.
    static QString waitText() { return tr("You can try again in %1 s."); }
    static QString recoveryCodeText() { return tr("Recovery Code"); }
    static QString recoveryCodeHint();
    /// How long offline mode goes on for the user, when it ends within three days; else empty.
    static QString daysLeftText();
    static QString languageLabel() { return tr("Language"); }

signals:
    void languageChanged();
};

} // namespace korvex::offline_mode
