#pragma once

#include <QObject>
#include <QString>
#include <QUrl>

namespace korvex::offline_mode {

/// Branding and help of the organisation, as the settings hold it; the built-in texts of the
/// settings are translated. Everything is read anew each time. GUI thread.
class TotpMethodDataProvider : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString companyName READ companyName NOTIFY languageChanged)
    Q_PROPERTY(QString applicationName READ applicationName NOTIFY languageChanged)
    Q_PROPERTY(QUrl logoUrl READ logoUrl NOTIFY languageChanged)
    Q_PROPERTY(QString protectedBy READ protectedBy NOTIFY languageChanged)
    Q_PROPERTY(QString helpPrompt READ helpPrompt NOTIFY languageChanged)
    Q_PROPERTY(QString helpMessage READ helpMessage NOTIFY languageChanged)
    Q_PROPERTY(QString helpLink1 READ helpLink1 NOTIFY languageChanged)
    Q_PROPERTY(QString helpLink2 READ helpLink2 NOTIFY languageChanged)
    Q_PROPERTY(QString recoveryCode READ recoveryCode NOTIFY languageChanged)

public:
    QString companyName() const;
    /// The name that the service has sent; the product's own name when there is none.
    QString applicationName() const;
    /// The company's logo when its file can be shown, else the built-in one.
    QUrl logoUrl() const;
    QString protectedBy() const;
    QString helpPrompt() const;
    QString helpMessage() const;
    QString helpLink1() const;
    QString helpLink2() const;
    /// The recovery code in its stored, encrypted form, which the help desk needs to tell the code.
    /// The screen does not show it, because anybody in front of the machine could read it.
    QString recoveryCode() const;

signals:
    void languageChanged();
};

} // namespace korvex::offline_mode
